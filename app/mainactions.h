#pragma once

#include "app/commandrules.h"
#include "resources/strings.h"

#include <QObject>
#include <QStringList>

#include <array>

class QAction;
class QMainWindow;
class QMenu;
class QToolBar;

namespace px40 {

/// The top-level menus of the main window, in their order.
enum class MainMenu { File, Realtime, Data, Setup, View, Help };
constexpr std::size_t MainMenuCount = 6;

/// Menus, tool bars and their actions, made from tables and told apart by command.
///
/// A menu item and a tool bar button of the same command are two actions, because the rules enable them
/// apart. A button's object name is its key ("Open", "Mdata", ...). The SAVE-mode download
/// is in no menu and on no bar.
class MainActions : public QObject
{
    Q_OBJECT

  public:
    /// Adds everything to `window`, which owns it.
    explicit MainActions(QMainWindow *window);

    QMenu *Menu(MainMenu menu) const { return menus_.at(static_cast<std::size_t>(menu)); }
    /// Null for a command without a menu item.
    QAction *Item(Command command) const { return items_.at(static_cast<std::size_t>(command)); }
    /// Null for a command without a button.
    QAction *Button(Command command) const { return buttons_.at(static_cast<std::size_t>(command)); }
    QToolBar *MainBar() const { return tbMain_; }
    QToolBar *SubBar() const { return tbSub_; }

    /// Enables what the rules let the user choose.
    void Show(const CommandRules &rules);

    /// Disables menus and main bar for a while, also for the keys of their items, or enables them again.
    void Enable(bool enabled);

    /// What the submenu of recent files offers: full names, the newest first.
    void ShowRecentFiles(const QStringList &names);

    /// Tab comes to the tool bars' buttons after that control.
    void TabAfter(QWidget *control);

    /// Draws the icons in the window's present colours.
    void MakeIcons();

  Q_SIGNALS:
    void triggered(px40::Command command);
    void recentFileChosen(const QString &name);
    void recentFilesCleared();

  private:
    void BuildMenus();
    void BuildToolBars();
    void ShowItems();
    QAction *AddAction(QWidget *to, const char16_t *name, Str caption, Command command);

    QMainWindow *window_;
    std::array<QMenu *, MainMenuCount> menus_{};
    std::array<QAction *, CommandCount> items_{};
    std::array<QAction *, CommandCount> buttons_{};
    QMenu *mnuFileRecent_ = nullptr;
    QToolBar *tbMain_ = nullptr;
    QToolBar *tbSub_ = nullptr;
    CommandRules rules_;
    bool enabled_ = true;
};

} // namespace px40
