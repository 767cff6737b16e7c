// The main window's data windows and their files: new, opened, dropped on it, saved, set up.

#include "app/frmmain.h"

#include "app/mainactions.h"
#include "app/services.h"
#include "app/workspace.h"
#include "document/frmdata.h"
#include "document/frmsetting.h"
#include "platform/filenames.h"
#include "resources/strings.h"

#include <QApplication>
#include <QDir>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QMenu>
#include <QMimeData>
#include <QUrl>

#include <utility>

namespace px40 {

namespace {

QStringList LocalFiles(const QMimeData *mime)
{
    QStringList names;
    const QList<QUrl> urls = mime->urls();
    for (const QUrl &url : urls) {
        if (url.isLocalFile())
            names << url.toLocalFile();
    }
    return names;
}

} // namespace

void frmMain::ShowHourglass(bool shown)
{
    if (shown)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QApplication::restoreOverrideCursor();
}

QList<std::shared_ptr<DataSet>> frmMain::OpenSets() const
{
    QList<std::shared_ptr<DataSet>> sets;
    const QList<QMdiSubWindow *> windows = workspace_->subWindowList();
    for (QMdiSubWindow *const window : windows) {
        if (const auto *const one = qobject_cast<frmData *>(window))
            sets << one->Data();
    }
    return sets;
}

frmData *frmMain::AddDataWindow(const std::shared_ptr<DataSet> &dataSet)
{
    DataWindowServices windowServices;
    windowServices.state = &services_->state;
    windowServices.prompts = &services_->prompts;
    windowServices.jobs = &services_->jobs;
    windowServices.saver = &files_;
    auto *const window = new frmData(dataSet, windowServices);
    workspace_->addSubWindow(window);
    workspace_->Place(window);
    connect(window, &frmData::selectionTextChanged, this, &frmMain::ShowSelection);
    return window;
}

std::shared_ptr<DataSet> frmMain::NewDataWindow(int kind)
{
    ShowHourglass(true);
    auto dataSet = std::make_shared<DataSet>(services_->state, services_->shared);
    frmData *const window = AddDataWindow(dataSet);
    dataSet->OpenNew(kind);
    window->show();
    if (window->isMaximized()) { // as the one before it was, and nobody has asked for anything else
        WindowShape shape = dataSet->Shape();
        shape.state = WindowShape::Maximised;
        dataSet->SetShape(shape);
    }
    OnWindowActivated();
    ShowHourglass(false);
    return dataSet;
}

QCoro::Task<void> frmMain::AskAndOpen()
{
    const QString name = co_await files_.AskOpen();
    if (name.isEmpty())
        co_return;
    const QStringList names(name);
    co_await OpenFiles(names);
}

QCoro::Task<void> frmMain::OpenFiles(QStringList names)
{
    QString message; // of the last one
    for (int i = 0; i < names.size(); ++i) {
        const QString name = QDir::toNativeSeparators(QFileInfo(names.at(i)).absoluteFilePath());
        if (services_->leaving)
            co_return;
        if (files_.IsFileOpen(name))
            continue;
        // The window comes when there is something to show: a file that cannot be read leaves none.
        const auto dataSet = std::make_shared<DataSet>(services_->state, services_->shared);
        const bool loaded = co_await files_.Load(dataSet, name);
        if (!loaded && !QFileInfo::exists(name))
            recent_.Remove(name);
        if (!loaded || services_->leaving)
            continue;
        recent_.Add(name);
        frmData *const window = AddDataWindow(dataSet);
        window->TakeShape();
        workspace_->BringIn(window);
        window->show();
        OnWindowActivated();
        const QString fileName = QFileInfo(name).fileName();
        message = Text(Str::FileOpened).arg(fileName, QString::number(dataSet->GetDatacount()));
    }
    if (!message.isEmpty())
        ShowFileMessage(message);
}

/// One that a window shows already comes to the front.
void frmMain::OpenRecent(const QString &name)
{
    const QList<QMdiSubWindow *> windows = workspace_->subWindowList();
    for (QMdiSubWindow *const window : windows) {
        const auto *const one = qobject_cast<frmData *>(window);
        if (!one || !SameFile(one->Data()->GetFilename(), name))
            continue;
        if (window->isMinimized())
            window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
        workspace_->setActiveSubWindow(window);
    }
    services_->jobs.Launch(OpenFiles(QStringList(name)), "opening a recent file");
}

void frmMain::ShowRecentFiles()
{
    actions_->ShowRecentFiles(recent_.Names());
}

void frmMain::mnuFileSave_Click()
{
    services_->jobs.Launch(SaveActive(false), "saving");
}

QCoro::Task<void> frmMain::SaveActive(bool underNewName)
{
    const frmData *const active = ActiveData();
    if (!active)
        co_return;
    const std::shared_ptr<DataSet> dataSet = active->Data();
    if (underNewName)
        co_await files_.SaveAs(dataSet);
    else
        co_await files_.Save(dataSet);
}

void frmMain::OnSaved(const QString &name)
{
    recent_.Add(name);
    ShowFileMessage(Text(Str::FileSaved).arg(QFileInfo(name).fileName()));
}

/// With what is to be told of the work file, which a run's messages leave standing for a while.
void frmMain::ShowFileMessage(const QString &text)
{
    const QString note = std::exchange(services_->shared.WorkNote, QString());
    if (note.isEmpty())
        ShowMessage(text);
    else
        ShowWarning(text + u' ' + note);
}

void frmMain::ShowGraphSetup()
{
    if (const frmData *const active = ActiveData())
        (new frmSetting(active->Data(), services_->prompts, services_->jobs, this))->open();
}

void frmMain::dragEnterEvent(QDragEnterEvent *event)
{
    TakeDrop(event);
}

/// True when there are files to be opened. They stay where they are, whatever the user's hand suggests.
bool frmMain::TakeDrop(QDropEvent *event) const
{
    // Not while a long operation has the program to itself.
    if (!actions_->Menu(MainMenu::File)->isEnabled() || LocalFiles(event->mimeData()).isEmpty() ||
        !(event->possibleActions() & Qt::CopyAction))
        return false;
    event->setDropAction(Qt::CopyAction);
    event->accept();
    return true;
}

void frmMain::dropEvent(QDropEvent *event)
{
    if (TakeDrop(event))
        services_->jobs.Launch(OpenFiles(LocalFiles(event->mimeData())), "opening dropped files");
}

} // namespace px40
