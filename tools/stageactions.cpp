// What a user does: clicks, keys, menus, answers.

#include "tools/stage.h"

#include "resources/strings.h"

#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QToolBar>
#include <QWindow>

#include <algorithm>

namespace px40 {

void Stage::TypeFileName(const QDialog *dialog, const QString &name)
{
    auto *const edit = Find<QLineEdit>(QStringLiteral("fileNameEdit"), dialog);
    edit->activateWindow();
    edit->setFocus();
    // The dialog takes what is marked in its list for the answer unless the user is in this field.
    Await([edit] { return edit->hasFocus(); },
          QStringLiteral("The file dialog's name field does not get the focus."));
    edit->setText(name); // at once: the list of proposals would take the keys
}

void Stage::ChooseFile(const QDialog *dialog, const QString &name)
{
    TypeFileName(dialog, name);
    QTest::keyClick(Find<QLineEdit>(QStringLiteral("fileNameEdit"), dialog), Qt::Key_Return);
}

void Stage::CancelFileDialog(QDialog *dialog)
{
    const QPointer<QDialog> open = dialog;
    QTest::keyClick(dialog, Qt::Key_Escape);
    Await([open] { return !open; }, QStringLiteral("The file dialog did not close."));
}

void Stage::Click(QWidget *widget)
{
    const QString name = widget->objectName();
    Require(widget->isVisible(), QStringLiteral("\"%1\" cannot be clicked: it is hidden.").arg(name));
    Require(widget->isEnabled(), QStringLiteral("\"%1\" cannot be clicked: it is disabled.").arg(name));
    const QWidget *const modal = QApplication::activeModalWidget();
    Require(!modal || widget->window() == modal,
            QStringLiteral("\"%1\" cannot be clicked: a dialog stands before it.").arg(name));
    QTest::mouseClick(widget, Qt::LeftButton);
}

void Stage::Type(const QWidget *parent, const QString &field, const QString &text)
{
    auto *const edit = Find<QLineEdit>(field, parent);
    Click(edit);
    edit->selectAll();
    QTest::keyClicks(edit, text);
}

void Stage::CloseDialog(QDialog *dialog, const QString &button)
{
    const QPointer<QDialog> open = dialog;
    ClickButton(dialog, button);
    Await([open] { return !open; }, QStringLiteral("The dialog did not close."));
}

void Stage::ClickButton(const QWidget *parent, const QString &name)
{
    Click(Find<QPushButton>(name, parent));
}

void Stage::ClickTool(const QString &key)
{
    auto *const action = Find<QAction>(key);
    for (const char16_t *const bar : {u"tbMain", u"tbSub"}) {
        if (QWidget *const button = Find<QToolBar>(QString::fromUtf16(bar))->widgetForAction(action)) {
            Click(button);
            return;
        }
    }
    Require(false, QStringLiteral("There is no tool button \"%1\".").arg(key));
}

QMenu *Stage::OpenMenu(const QString &name)
{
    auto *const menu = Find<QMenu>(name);
    QMenuBar *const bar = window->menuBar();
    const QRect title = bar->actionGeometry(menu->menuAction());
    QTest::mouseClick(bar, Qt::LeftButton, {}, title.center());
    Await([menu] { return menu->isVisible(); }, QStringLiteral("The menu %1 did not open.").arg(name));
    return menu;
}

void Stage::CloseMenu(QMenu *menu)
{
    QTest::keyClick(menu, Qt::Key_Escape);
    QTest::keyClick(window->menuBar(), Qt::Key_Escape); // the highlight in the menu bar
    Await([menu] { return !menu->isVisible(); },
          QStringLiteral("The menu %1 did not close.").arg(menu->objectName()));
}

void Stage::Choose(const QString &menuName, const QString &itemName)
{
    QMenu *const menu = OpenMenu(menuName);
    auto *const item = Find<QAction>(itemName);
    const bool enabled = item->isEnabled();
    if (enabled)
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(item).center());
    else
        CloseMenu(menu);
    Require(enabled, QStringLiteral("The menu item %1 is disabled.").arg(itemName));
}

QMenu *Stage::OpenContextMenu(const QWidget *widget, const QPoint &place)
{
    QWidget *const top = widget->window();
    QTest::mouseClick(top->windowHandle(), Qt::RightButton, {}, widget->mapTo(top, place));
    const auto menu = [] { return qobject_cast<QMenu *>(QApplication::activePopupWidget()); };
    Await([&] { return menu() != nullptr; }, QStringLiteral("No context menu opened."));
    return menu();
}

void Stage::ChooseItem(QMenu *menu, const QString &text)
{
    const QList<QAction *> items = menu->actions();
    for (QAction *const item : items) {
        if (item->text().remove(u'&') == text) {
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(item).center());
            return;
        }
    }
    Require(false, QStringLiteral("The menu has no item \"%1\".").arg(text));
}

void Stage::Answer(QMessageBox *box, int button)
{
    ClickAnswer(box, box->button(static_cast<QMessageBox::StandardButton>(button)));
}

void Stage::Answer(QMessageBox *box, const QString &text)
{
    const QList<QAbstractButton *> all = box->buttons();
    const auto found = std::find_if(all.begin(), all.end(), [&](auto *one) { return one->text() == text; });
    ClickAnswer(box, found == all.end() ? nullptr : *found);
}

void Stage::ClickAnswer(const QPointer<QMessageBox> &box, QWidget *button)
{
    Require(button != nullptr, QStringLiteral("The message box lacks the button."));
    Click(button);
    Await([box] { return !box; }, QStringLiteral("The message box did not close."));
}

void Stage::DownloadOnly(const QString &fault)
{
    QMessageBox *const question = AwaitBox();
    const QString text = question->text();
    Require(text == Text(Str::AskForwardAfterReceive),
            QStringLiteral("A download begins with the question \"%1\".").arg(text));
    if (!fault.isEmpty()) {
        AwaitFreeLink();
        SetFault(fault);
    }
    Answer(question, QMessageBox::No);
}

} // namespace px40
