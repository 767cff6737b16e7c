#include "acquire/livewindow.h"

#include "acquire/instrumentface.h"
#include "platform/elidedlabel.h"
#include "platform/geometry.h"
#include "resources/icons.h"

#include <tuple>
#include <utility>

namespace px40 {

namespace {

// Being a dialog keeps the window above the main window; unlike most dialogs it can be maximized.
constexpr Qt::WindowFlags Flags = Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                                  Qt::WindowMinMaxButtonsHint | Qt::WindowCloseButtonHint;

} // namespace

LiveWindow::LiveWindow(const QString &name, UserStore &store, QWidget *parent)
    : QWidget(parent, Flags), name_(name), store_(&store),
      llMessage_(NewNamed<ElidedLabel>("llMessage", this))
{
    llMessage_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed); // a long text must not widen it
    setObjectName(QStringLiteral("frm") + name);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowIcon(ApplicationIcon());
}

void LiveWindow::ShowMessage(const QString &text)
{
    text_ = text;
    noteFirst_ = false;
    ShowLine();
}

void LiveWindow::ShowNote(const QString &text)
{
    note_ = text;
    noteFirst_ = true;
    ShowLine();
}

void LiveWindow::ShowLine()
{
    const auto &[first, second] = noteFirst_ ? std::tie(note_, text_) : std::tie(text_, note_);
    const QString line = first.isEmpty() ? second : first;
    llMessage_->SetText(fault_.isEmpty() || line.isEmpty() ? fault_ + line
                                                           : fault_ + QStringLiteral("  ") + line);
}

void LiveWindow::ShowFault(const QString &fault)
{
    if (std::exchange(fault_, fault) != fault)
        ShowLine();
}

InstrumentFace *LiveWindow::Face() const
{
    return findChild<InstrumentFace *>();
}

void LiveWindow::SetDemo(bool demo)
{
    Face()->SetDemo(demo);
}

void LiveWindow::Fade()
{
    Face()->Fade();
    ShowFault(QString());
}

void LiveWindow::Place(const QRect &usual)
{
    RestoreGeometry(*this, name_, usual, *store_);
}

void LiveWindow::closeEvent(QCloseEvent *)
{
    if (!open_)
        return;
    open_ = false;
    SaveGeometry(*this, name_, *store_);
    Q_EMIT closed();
}

} // namespace px40
