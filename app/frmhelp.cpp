#include "app/frmhelp.h"

#include "platform/geometry.h"
#include "platform/named.h"
#include "resources/icons.h"
#include "resources/strings.h"

#include <QDialogButtonBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QShortcut>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>

namespace px40 {

namespace {

constexpr QSize UsualSize{820, 900};

/// Pictures lie in the pages, and are no wider than the text.
class GuideText : public QTextBrowser
{
  public:
    using QTextBrowser::QTextBrowser;

  protected:
    QVariant loadResource(int type, const QUrl &name) override
    {
        if (type != QTextDocument::ImageResource || name.scheme() != u"data")
            return QTextBrowser::loadResource(type, name);
        const QByteArray coded = name.toEncoded();
        QImage picture = QImage::fromData(QByteArray::fromBase64(coded.mid(coded.indexOf(',') + 1)));
        const int room = viewport()->width() - static_cast<int>(2 * document()->documentMargin());
        if (picture.width() > room) {
            const int width = std::min(picture.width(), qRound(room * devicePixelRatioF()));
            picture = picture.scaledToWidth(width, Qt::SmoothTransformation);
            picture.setDevicePixelRatio(static_cast<double>(width) / room);
        }
        return picture;
    }

    /// The pictures once more, for the new width.
    void resizeEvent(QResizeEvent *event) override
    {
        const bool wider = viewport()->width() != width_;
        width_ = viewport()->width();
        QTextBrowser::resizeEvent(event);
        if (!wider || source().isEmpty())
            return;
        const int at = verticalScrollBar()->value();
        reload();
        verticalScrollBar()->setValue(at);
    }

  private:
    int width_ = 0;
};

} // namespace

frmHelp::frmHelp() : text_(NewNamed<GuideText>("tbGuide", this))
{
    setObjectName(QStringLiteral("frmHelp"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowFlags(Qt::Window);
    setWindowIcon(ApplicationIcon());
    setWindowTitle(Text(Str::HelpTitle));
    text_->setAccessibleName(windowTitle());
    text_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn); // or the first picture is too wide beside it
    connect(text_, &QTextBrowser::sourceChanged, this, [this] {
        setWindowTitle(text_->documentTitle() + QStringLiteral(" - ") + Text(Str::ApplicationTitle));
    });

    auto *const column = new QVBoxLayout(this);
    column->addWidget(text_);
    auto *const buttons = new QDialogButtonBox(this);
    const auto add = [&](const char *name, Str caption, QDialogButtonBox::ButtonRole role) {
        auto *const button = NewNamed<QPushButton>(name, Text(caption), this);
        button->setAutoDefault(false);
        buttons->addButton(button, role);
        return button;
    };
    QPushButton *const back = add("btBack", Str::HelpBack, QDialogButtonBox::ActionRole);
    connect(back, &QPushButton::clicked, text_, &QTextBrowser::backward);
    connect(text_, &QTextBrowser::backwardAvailable, back, &QWidget::setEnabled);
    back->setEnabled(false);
    connect(add("btClose", Str::Close, QDialogButtonBox::RejectRole), &QPushButton::clicked, this,
            &QDialog::close);
    auto *const row = new QHBoxLayout;
    column->addLayout(row);
    auto *const find = NewNamed<QLineEdit>("tbFind", this);
    find->setPlaceholderText(Text(Str::HelpFind));
    find->setAccessibleName(find->placeholderText());
    row->addWidget(find, 1);
    auto *const outcome = NewNamed<QLabel>("lbFind", this);
    row->addWidget(outcome);
    row->addWidget(buttons);
    connect(find, &QLineEdit::textEdited, outcome, &QLabel::clear);
    connect(find, &QLineEdit::returnPressed, this, [this, find, outcome] {
        bool found = text_->find(find->text());
        if (!found) { // once more from the beginning
            text_->moveCursor(QTextCursor::Start);
            found = text_->find(find->text());
        }
        outcome->setText(found ? QString() : Text(Str::HelpNotFound));
    });
    connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, find, [find] {
        find->setFocus(Qt::ShortcutFocusReason);
        find->selectAll();
    });
    text_->setFocus();

    const QRect screen = UsableScreens().value(0);
    QRect place(QPoint(), UsualSize.boundedTo(screen.size() * 0.9)); // room for the frame
    place.moveCenter(screen.center());
    setGeometry(place);
}

void frmHelp::Open(const QString &file)
{
    text_->setSource(QUrl::fromLocalFile(file));
}

} // namespace px40
