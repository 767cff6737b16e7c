#include "tools/stage.h"

#include "acquire/frmmoniter.h"
#include "graph/chart.h"
#include "simulator/keyorders.h"
#include "source/frmsource.h"

#include <QDir>
#include <QLineEdit>
#include <QMdiArea>
#include <QMenu>
#include <QMenuBar>
#include <QStandardPaths>
#include <QTest>
#include <QWindow>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

void Stage::StartUp(const QPoint &sourcePlace)
{
    OperatedProgram::StartUp();
    Source()->move(sourcePlace);
}

void Stage::SideBySide()
{
    const QList<frmData *> windows = DataWindows();
    const QRect room = Find<QMdiArea>("workspace")->viewport()->rect();
    const QRect half(room.topLeft(), QSize(room.width() / 2, room.height()));
    windows.first()->setGeometry(half);
    windows.last()->setGeometry(half.translated(half.width(), 0));
}

QString Stage::Document(const QString &name)
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)).filePath(name);
}

void Stage::Fade()
{
    Q_EMIT window->findChild<Timer *>(u"tmFade"_s)->tick();
}

void Stage::SecondsUntil(const std::function<bool()> &done)
{
    for (int second = 0; !done(); ++second) {
        Require(second < 60, u"What the seconds were to bring did not come."_s);
        Second();
    }
}

void Stage::See(const std::function<void()> &act)
{
    Send(act);
    Second();
}

void Stage::Set(const char *orders)
{
    const QList<QByteArray> all = QByteArray(orders).split(';');
    for (const QByteArray &one : all) {
        const std::string order = one.trimmed().toStdString();
        std::string error;
        const bool done = server.WithInstrument([&](sim::Instrument &instrument) {
            return sim::IsKeyOrder(order) ? sim::ObeyKeys(order, instrument, &error)
                                          : instrument.Answer(order) == "OK";
        });
        Require(done, u"The instrument does not obey \"%1\"."_s.arg(QString::fromStdString(order)));
    }
    Second();
}

QWidget *Stage::Moniter() const
{
    return OpenOne<frmMoniter>();
}

QWidget *Stage::Source() const
{
    return OpenOne<frmSource>();
}

void Stage::Open(const QString &name)
{
    Choose("mnuFileOpen");
    ChooseFile(name);
    Idle();
}

Chart *Stage::Graph() const
{
    return Find<Chart>("chData", Data());
}

int Stage::Rows() const
{
    return Find<QTableView>("fgData", Data())->model()->rowCount();
}

void Stage::AwaitRows(int rows)
{
    Wait([&] { return !DataWindows().isEmpty() && Rows() >= rows; });
}

void Stage::Type(const QObject *parent, const std::vector<std::pair<const char *, QString>> &texts)
{
    for (const auto &[field, text] : texts) {
        auto *const edit = Find<QLineEdit>(field, parent);
        Click(edit);
        edit->selectAll();
        QTest::keyClicks(edit, text);
    }
}

QMenu *Stage::OpenMenu(const char *name)
{
    auto *const menu = Find<QMenu>(name);
    QMenuBar *const bar = window->menuBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(menu->menuAction()).center());
    Wait([menu] { return menu->isVisible(); });
    return menu;
}

void Stage::CloseMenu(QMenu *menu)
{
    QTest::keyClick(menu, Qt::Key_Escape);
    QTest::keyClick(window->menuBar(), Qt::Key_Escape); // the highlight in the menu bar
    Wait([menu] { return !menu->isVisible(); });
}

QMenu *Stage::OpenContextMenu(QWidget *widget, const QPoint &place)
{
    QWidget *const top = widget->window();
    QTest::mouseClick(top->windowHandle(), Qt::RightButton, {}, widget->mapTo(top, place));
    const auto menu = [] { return qobject_cast<QMenu *>(QApplication::activePopupWidget()); };
    Wait([&] { return menu() != nullptr; });
    return menu();
}

void Stage::ChooseItem(QMenu *menu, const QString &text)
{
    const QList<QAction *> items = menu->actions();
    const auto item =
        std::find_if(items.begin(), items.end(), [&](auto *one) { return one->text().remove(u'&') == text; });
    Require(item != items.end(), u"The menu has no item \"%1\"."_s.arg(text));
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(*item).center());
}

void Stage::ChooseFile(const QString &name)
{
    auto *const edit = Find<QLineEdit>("fileNameEdit", FileDialog());
    edit->activateWindow();
    edit->setFocus();
    // The dialog takes what is marked in its list for the answer unless the user is in this field.
    Wait([edit] { return edit->hasFocus(); });
    edit->setText(name); // at once: the list of proposals would take the keys
    QTest::keyClick(edit, Qt::Key_Return);
}

void Stage::Escape(QDialog *dialog)
{
    Close(dialog, [dialog] { QTest::keyClick(dialog, Qt::Key_Escape); });
}

void Stage::Take(const char *name, const Widgets &inFront)
{
    TakeOnly(QString::fromLatin1(name), Widgets{window.get()} + inFront);
}

void Stage::TakeAll(const char *name, const Widgets &inFront)
{
    Widgets live = {Moniter(), Source()};
    live.removeAll(nullptr);
    Take(name, live + inFront);
}

void Stage::TakeMenu(const char *picture, const char *name)
{
    QMenu *const menu = OpenMenu(name);
    Take(picture, {menu});
    CloseMenu(menu);
}

} // namespace px40
