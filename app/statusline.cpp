#include "app/statusline.h"

namespace px40 {

namespace {
constexpr int WarningShownMs = 3000;
} // namespace

void StatusLine::Show(const QString &text)
{
    text_ = text;
    Q_EMIT changed(text);
}

void StatusLine::Warn(const QString &text)
{
    warned_.start();
    Show(text);
}

void StatusLine::ShowOfRun(const QString &text)
{
    if (!warned_.isValid() || warned_.hasExpired(WarningShownMs))
        Show(text);
}

void StatusLine::TakeBack(const QString &text)
{
    if (text_ == text)
        Show(QString());
}

} // namespace px40
