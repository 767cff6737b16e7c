#include "platform/userstore.h"

#include <cmath>

namespace px40 {

namespace {

QString FullKey(const QString &section, const QString &key)
{
    return section + QLatin1Char('/') + key;
}

void Put(QSettings &settings, const QString &key, const QString &text)
{
    if (text.isEmpty())
        settings.remove(key);
    else
        settings.setValue(key, text);
}

} // namespace

UserStore::UserStore(const QString &application) : settings_(std::make_unique<QSettings>(application)) {}

UserStore::UserStore(std::unique_ptr<QSettings> settings) : settings_(std::move(settings)) {}

UserStore UserStore::InFile(const QString &path)
{
    return UserStore(std::make_unique<QSettings>(path, QSettings::IniFormat));
}

QString UserStore::Get(const QString &section, const QString &key) const
{
    return settings_->value(FullKey(section, key)).toString();
}

double UserStore::GetNumber(const QString &section, const QString &key, double fallback) const
{
    bool ok = false;
    const double value = Get(section, key).toDouble(&ok);
    return ok && std::isfinite(value) ? value : fallback;
}

void UserStore::Save(const QString &section, const QString &key, const QString &text)
{
    if (Get(section, key) != text) // do not rewrite the file for nothing
        Put(*settings_, FullKey(section, key), text);
}

void UserStore::SaveNow(const QString &section, const QString &key, const QString &text) const
{
    // A QSettings belongs to one thread; those of the same file share their contents.
    QSettings settings(settings_->fileName(), settings_->format());
    Put(settings, FullKey(section, key), text);
    settings.sync();
}

} // namespace px40
