#include "app/filedialog.h"

#include "resources/strings.h"

#include <QAbstractItemView>
#include <QAction>
#include <QFileInfo>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QShortcut>
#include <QTreeView>

namespace px40 {

FileDialog::FileDialog(AcceptMode mode, const QString &folder, const QString &filter, QWidget *parent)
    : QFileDialog(parent)
{
    const bool opening = mode == AcceptOpen;
    setObjectName(QStringLiteral("dlgCommon"));
    setWindowModality(Qt::ApplicationModal);
    setWindowTitle(Text(opening ? Str::TipOpen : Str::TitleSaveAs));
    setAcceptMode(mode);
    setFileMode(opening ? ExistingFile : AnyFile);
    setOption(ReadOnly, opening);
    setOption(DontConfirmOverwrite); // the owner of the dialog asks
    setNameFilters(filter.split(QStringLiteral(";;")));
    setDirectory(folder);
    connect(this, &QDialog::finished, this, [this] { chosen_.Complete(QString()); });
}

FileDialog::~FileDialog()
{
    chosen_.Complete(QString());
}

void FileDialog::Propose(const QString &name)
{
    proposal_ = name;
    if (!name.isEmpty())
        selectFile(name);
}

OneShot<QString> FileDialog::Choose()
{
    chosen_ = OneShot<QString>();
    if (!isVisible()) {
        show();
        FitIn();
    }
    return chosen_;
}

void FileDialog::FitIn()
{
    const QList<QPushButton *> buttons = findChildren<QPushButton *>();
    for (QPushButton *const button : buttons)
        button->setIcon(QIcon());
    if (acceptMode() == AcceptSave)
        setLabelText(LookIn, Text(Str::SaveIn));
    // Without the column for the kind, which the name tells anyway, the date is not cut off.
    if (auto *const tree = findChild<QTreeView *>(QStringLiteral("treeView"))) {
        constexpr int Kind = 2;
        constexpr int Date = 3;
        tree->header()->setStretchLastSection(false);
        tree->header()->setSectionHidden(Kind, true);
        tree->header()->setSectionResizeMode(0, QHeaderView::Stretch);
        tree->header()->setSectionResizeMode(Date, QHeaderView::ResizeToContents);
    }
    // This program need not delete files, and Qt would ask for confirmation in a nested event loop.
    if (auto *const action = findChild<QAction *>(QStringLiteral("qt_delete_action")))
        action->setVisible(false);
    const QList<QShortcut *> shortcuts = findChildren<QShortcut *>();
    for (QShortcut *const shortcut : shortcuts) {
        if (shortcut->key() == QKeySequence(Qt::Key_Delete))
            shortcut->setEnabled(false);
    }
}

void FileDialog::accept()
{
    const QStringList files = selectedFiles();
    if (files.isEmpty())
        return;
    const QString typed = QDir::cleanPath(files.first());
    const QString name = WithSuffix(typed);
    if (testAttribute(Qt::WA_DontShowOnScreen)) {
        hide(); // the desktop's dialog is gone by now
    } else {
        for (const QString &folder : {typed, name}) {
            if (QFileInfo(folder).isDir()) {
                Enter(folder);
                return;
            }
        }
    }
    chosen_.Complete(name);
}

void FileDialog::Enter(const QString &folder)
{
    setDirectory(folder);
    // Otherwise Qt would go on taking the selected folder for the answer.
    if (const auto *const list = findChild<QAbstractItemView *>(QStringLiteral("listView")))
        list->selectionModel()->clear();
    if (auto *const edit = findChild<QLineEdit *>(QStringLiteral("fileNameEdit")))
        edit->clear();
}

QString FileDialog::WithSuffix(const QString &name) const
{
    // "run 2.5" has no suffix, though Qt takes ".5" for one.
    static const QRegularExpression realSuffix(QStringLiteral(R"(\.[A-Za-z]\w{0,7}$)"));
    // Nor has the proposal if there are several kinds of files, whatever dots are in it.
    const bool proposed = nameFilters().size() > 1 && name == QDir::cleanPath(proposal_);
    if (acceptMode() == AcceptOpen || (!proposed && realSuffix.match(name).hasMatch()))
        return name;
    static const QRegularExpression firstPattern(QStringLiteral(R"(\(\*\.(\w+)[^()]*\)\s*$)"));
    const QString suffix = firstPattern.match(selectedNameFilter()).captured(1);
    return suffix.isEmpty() ? name : name + u'.' + suffix;
}

} // namespace px40
