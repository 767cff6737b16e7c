#include "app/about.h"

#include "resources/icons.h"
#include "resources/strings.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

namespace px40 {

namespace {

constexpr int PictureSize = 112;

void AddLine(const QString &text, double scale, QVBoxLayout *column)
{
    auto *const label = new QLabel(text);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * scale);
    font.setBold(scale > 1.3);
    label->setFont(font);
    column->addWidget(label);
}

QWidget *MakeContent(QWidget *parent)
{
    auto *const content = new QWidget(parent);
    auto *const row = new QHBoxLayout(content);
    row->setContentsMargins(24, 24, 24, 24);
    row->setSpacing(24);
    auto *const picture = new QLabel(content);
    picture->setPixmap(ApplicationIcon().pixmap({PictureSize, PictureSize}, content->devicePixelRatioF()));
    picture->setFixedSize(PictureSize, PictureSize);
    row->addWidget(picture, 0, Qt::AlignTop);

    auto *const column = new QVBoxLayout;
    column->setSpacing(4);
    row->addLayout(column, 1);
    AddLine(Text(Str::ApplicationTitle), 1.7, column);
    AddLine(Text(Str::Version) + QStringLiteral(PX40_VERSION), 1.1, column);
    column->addSpacing(8);
    AddLine(Text(Str::ProductLine), 1.0, column);
    column->addSpacing(8);
    for (const Str notice : {Str::CopyrightLine, Str::LicenceLine, Str::NoWarrantyLine})
        AddLine(Text(notice), 0.9, column);
    column->addStretch(1);
    return content;
}

class frmSplash : public QWidget
{
  public:
    frmSplash() : QWidget(nullptr, Qt::SplashScreen | Qt::FramelessWindowHint)
    {
        setObjectName(QStringLiteral("frmSplash"));
        auto *const column = new QVBoxLayout(this);
        column->setContentsMargins(1, 1, 1, 1); // for the border
        column->addWidget(MakeContent(this));
        adjustSize();
        if (const QScreen *const screen = QGuiApplication::primaryScreen())
            move(screen->availableGeometry().center() - rect().center());
    }

  protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        DrawThinFrame(painter, rect(),
                      Mix(palette().color(QPalette::Window), palette().color(QPalette::WindowText), 0.4));
    }
};

} // namespace

std::unique_ptr<QWidget> MakeSplash()
{
    return std::make_unique<frmSplash>();
}

void ShowAbout(QWidget *parent)
{
    auto *const dialog = new QDialog(parent);
    dialog->setObjectName(QStringLiteral("frmAbout"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(Text(Str::HelpAbout).remove(u'&').remove(QStringLiteral("...")));
    auto *const column = new QVBoxLayout(dialog);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(MakeContent(dialog), 1);

    auto *const buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
    buttons->setContentsMargins(12, 0, 12, 12);
    buttons->button(QDialogButtonBox::Close)->setText(Text(Str::Close));
    buttons->button(QDialogButtonBox::Close)->setIcon(QIcon());
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    column->addWidget(buttons);
    dialog->open();
}

} // namespace px40
