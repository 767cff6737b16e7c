#include "app/mainactions.h"

#include "resources/icons.h"
#include "resources/strings.h"

#include <QAction>
#include <QFileInfo>
#include <QKeySequence>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>
#include <QToolButton>

#include <optional>
#include <utility>

namespace px40 {

namespace {

struct MenuEntry
{
    MainMenu menu;
    const char16_t *name;
    std::optional<Command> command; ///< none: the submenu of recent files, or without a caption a separator
    Str caption;
    const char16_t *icon;
    const char16_t *shortcut;
};

constexpr Str NoCaption = Str::FontName;

constexpr MenuEntry MenuEntries[] = {
    {MainMenu::File, u"mnuFileOpen", Command::FileOpen, Str::FileOpen, u"open", u"Ctrl+O"},
    {MainMenu::File, u"mnuFileRecent", std::nullopt, Str::FileRecent, u"", u""},
    {MainMenu::File, u"mnuFileClose", Command::FileClose, Str::FileClose, u"close", u"Ctrl+W"},
    {MainMenu::File, u"mnuFileBar1", std::nullopt, NoCaption, u"", u""},
    {MainMenu::File, u"mnuFileSave", Command::FileSave, Str::FileSave, u"save", u"Ctrl+S"},
    {MainMenu::File, u"mnuFileSaveAs", Command::FileSaveAs, Str::FileSaveAs, u"saveas", u"Ctrl+Shift+S"},
    {MainMenu::File, u"mnuFileBar2", std::nullopt, NoCaption, u"", u""},
    {MainMenu::File, u"mnuFileForward", Command::FileForward, Str::FileForward, u"forward", u""},
    {MainMenu::File, u"mnuFileBar3", std::nullopt, NoCaption, u"", u""},
    {MainMenu::File, u"mnuFileExit", Command::FileExit, Str::FileExit, u"exit", u"Ctrl+Q"},
    {MainMenu::Realtime, u"mnuRealtimeNew", Command::RealtimeNew, Str::RealtimeNew, u"new", u"Ctrl+N"},
    {MainMenu::Realtime, u"mnuRealtimeBar1", std::nullopt, NoCaption, u"", u""},
    {MainMenu::Realtime, u"mnuRealtimeStart", Command::RealtimeStart, Str::RealtimeStart, u"start", u"F5"},
    {MainMenu::Realtime, u"mnuRealtimeStop", Command::RealtimeStop, Str::RealtimeStop, u"stop", u"Shift+F5"},
    {MainMenu::Data, u"mnuDataMemory", Command::DataMemory, Str::DataMemory, u"mdata", u"Ctrl+M"},
    {MainMenu::Setup, u"mnuSetupCommport", Command::SetupCommport, Str::SetupCommport, u"port", u""},
    {MainMenu::Setup, u"mnuSetupInterval", Command::SetupInterval, Str::SetupInterval, u"interval", u""},
    {MainMenu::Setup, u"mnuSetupGraph", Command::SetupGraph, Str::SetupGraph, u"graph", u""},
    {MainMenu::View, u"mnuViewToolbar", Command::ViewToolbar, Str::ViewToolbar, u"", u""},
    {MainMenu::View, u"mnuViewStatusbar", Command::ViewStatusbar, Str::ViewStatusbar, u"", u""},
    {MainMenu::View, u"mnuViewBar1", std::nullopt, NoCaption, u"", u""},
    {MainMenu::View, u"mnuViewMoniter", Command::ViewMoniter, Str::ViewMoniter, u"moniter", u""},
    {MainMenu::View, u"mnuViewSource", Command::ViewSource, Str::ViewSource, u"source", u""},
    {MainMenu::Help, u"mnuHelpContents", Command::HelpContents, Str::HelpContents, u"help", u"F1"},
    {MainMenu::Help, u"mnuHelpAbout", Command::HelpAbout, Str::HelpAbout, u"about", u""},
};

/// In the order of `MainMenu`.
constexpr std::pair<const char16_t *, Str> TopMenus[MainMenuCount] = {
    {u"mnuFile", Str::MenuFile},   {u"mnuRealtime", Str::MenuRealtime}, {u"mnuData", Str::MenuData},
    {u"mnuSetup", Str::MenuSetup}, {u"mnuView", Str::MenuView},         {u"mnuHelp", Str::MenuHelp},
};

/// Its icon is that of the menu item.
struct ButtonEntry
{
    const char16_t *key;
    Str tip;
    Command command;
    bool beginsGroup = false;
};

constexpr ButtonEntry Buttons[] = {
    {u"Open", Str::TipOpen, Command::FileOpen},
    {u"Save", Str::TipSave, Command::FileSave},
    {u"Forward", Str::TipForward, Command::FileForward},
    {u"New", Str::TipNew, Command::RealtimeNew, true},
    {u"Start", Str::TipStart, Command::RealtimeStart},
    {u"Mdata", Str::TipMemoryData, Command::DataMemory},
    {u"Interval", Str::TipInterval, Command::SetupInterval, true},
    {u"Graph", Str::TipGraph, Command::SetupGraph},
    {u"Moniter", Str::TipMoniter, Command::ViewMoniter, true},
    {u"Source", Str::TipSource, Command::ViewSource},
    {u"Stop", Str::TipStop, Command::RealtimeStop}, // on a bar of its own
};

bool IsCheckable(Command command)
{
    return command == Command::ViewToolbar || command == Command::ViewStatusbar ||
           command == Command::ViewMoniter || command == Command::ViewSource;
}

template <typename T>
std::size_t Index(T value)
{
    return static_cast<std::size_t>(value);
}

} // namespace

MainActions::MainActions(QMainWindow *window) : QObject(window), window_(window)
{
    BuildMenus();
    BuildToolBars();
    MakeIcons();
}

void MainActions::BuildMenus()
{
    for (std::size_t i = 0; i < MainMenuCount; ++i) {
        const auto &[name, caption] = TopMenus[i];
        menus_[i] = window_->menuBar()->addMenu(Text(caption));
        menus_[i]->setObjectName(QString::fromUtf16(name));
    }
    for (const MenuEntry &entry : MenuEntries) {
        QMenu *const menu = Menu(entry.menu);
        if (!entry.command && entry.caption == NoCaption) {
            menu->addSeparator()->setObjectName(QString::fromUtf16(entry.name));
            continue;
        }
        if (!entry.command) {
            mnuFileRecent_ = menu->addMenu(Text(entry.caption));
            mnuFileRecent_->setObjectName(QString::fromUtf16(entry.name));
            mnuFileRecent_->setToolTipsVisible(true);
            continue;
        }
        const Command command = *entry.command;
        QAction *const item = AddAction(menu, entry.name, entry.caption, command);
        item->setShortcut(QKeySequence(QString::fromUtf16(entry.shortcut)));
        if (!item->shortcut().isEmpty())
            window_->addAction(item); // for the windows that take over the keys of this one
        items_.at(Index(command)) = item;
    }
}

QAction *MainActions::AddAction(QWidget *to, const char16_t *name, Str caption, Command command)
{
    QAction *const action = to->addAction(Text(caption));
    action->setObjectName(QString::fromUtf16(name));
    action->setCheckable(IsCheckable(command));
    connect(action, &QAction::triggered, this, [this, command] { Q_EMIT triggered(command); });
    return action;
}

void MainActions::ShowRecentFiles(const QStringList &names)
{
    mnuFileRecent_->clear();
    mnuFileRecent_->setEnabled(!names.isEmpty());
    for (const QString &name : names) {
        const qsizetype number = mnuFileRecent_->actions().size() + 1;
        QString shown = QFileInfo(name).fileName();
        shown.replace(u'&', QStringLiteral("&&"));
        QAction *const item = mnuFileRecent_->addAction(QStringLiteral("&%1  %2").arg(number).arg(shown));
        item->setToolTip(name);
        connect(item, &QAction::triggered, this, [this, name] { Q_EMIT recentFileChosen(name); });
    }
    if (names.isEmpty())
        return;
    mnuFileRecent_->addSeparator();
    mnuFileRecent_->addAction(Text(Str::FileRecentClear), this, &MainActions::recentFilesCleared);
}

void MainActions::BuildToolBars()
{
    const auto makeBar = [this](const QString &name) {
        QToolBar *const bar = window_->addToolBar(name);
        bar->setObjectName(name);
        bar->setMovable(false);
        bar->setIconSize(QSize(24, 24));
        bar->setContextMenuPolicy(Qt::PreventContextMenu);
        return bar;
    };
    tbMain_ = makeBar(QStringLiteral("tbMain"));
    tbSub_ = makeBar(QStringLiteral("tbSub"));
    for (QToolBar *const bar : {tbMain_, tbSub_})
        bar->setWindowTitle(Text(Str::ViewToolbar).remove(u'&')); // read by screen readers
    for (const ButtonEntry &entry : Buttons) {
        QToolBar *const bar = entry.command == Command::RealtimeStop ? tbSub_ : tbMain_;
        if (entry.beginsGroup)
            bar->addSeparator();
        QAction *const button = AddAction(bar, entry.key, entry.tip, entry.command);
        bar->widgetForAction(button)->setFocusPolicy(Qt::TabFocus);
        buttons_.at(Index(entry.command)) = button;
    }
    window_->setContextMenuPolicy(Qt::NoContextMenu);
    buttons_.at(Index(Command::DataSave)) = AddAction(window_, u"Sdata", NoCaption, Command::DataSave);
}

void MainActions::TabAfter(QWidget *control)
{
    for (const QToolBar *const bar : {tbMain_, tbSub_}) {
        const QList<QToolButton *> buttons = bar->findChildren<QToolButton *>();
        for (QToolButton *const button : buttons) {
            QWidget::setTabOrder(control, button);
            control = button;
        }
    }
}

void MainActions::MakeIcons()
{
    for (const MenuEntry &entry : MenuEntries) {
        if (entry.icon[0] == u'\0')
            continue;
        const QIcon icon = MakeIcon(QString::fromUtf16(entry.icon), window_->palette());
        Item(*entry.command)->setIcon(icon);
        if (QAction *const button = Button(*entry.command))
            button->setIcon(icon);
    }
}

void MainActions::Show(const CommandRules &rules)
{
    rules_ = rules;
    ShowItems();
    for (std::size_t i = 0; i < CommandCount; ++i) {
        const auto command = static_cast<Command>(i);
        if (QAction *const button = Button(command))
            button->setEnabled(rules.IsButtonEnabled(command));
    }
}

void MainActions::ShowItems()
{
    for (std::size_t i = 0; i < CommandCount; ++i) {
        const auto command = static_cast<Command>(i);
        if (QAction *const item = Item(command))
            item->setEnabled(enabled_ && rules_.IsItemEnabled(command));
    }
}

void MainActions::Enable(bool enabled)
{
    enabled_ = enabled;
    for (QMenu *const menu : menus_)
        menu->setEnabled(enabled);
    tbMain_->setEnabled(enabled);
    ShowItems();
}

} // namespace px40
