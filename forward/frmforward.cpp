#include "forward/frmforward.h"

#include "link/linkstate.h"
#include "platform/jobs.h"
#include "platform/named.h"
#include "platform/onelinevalidator.h"
#include "platform/prompts.h"
#include "resources/strings.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QFileInfo>
#include <QGroupBox>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QRadioButton>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>

namespace px40 {

namespace {

constexpr int FieldWidth = 72; // average characters: most paths fit

/// The name of a file; a file that is dropped on it replaces the name.
class FileBox : public QLineEdit
{
  public:
    using QLineEdit::QLineEdit;

  protected:
    bool event(QEvent *event) override
    {
        const bool drops = event->type() == QEvent::Drop;
        if (!drops && event->type() != QEvent::DragEnter && event->type() != QEvent::DragMove)
            return QLineEdit::event(event);
        const QString file = TakeFile(static_cast<QDropEvent *>(event));
        if (file.isEmpty())
            return QLineEdit::event(event);
        if (drops)
            setText(QDir::toNativeSeparators(file));
        return true;
    }

  private:
    /// The first local file of the event, which is then accepted.
    static QString TakeFile(QDropEvent *event)
    {
        const QList<QUrl> urls = event->mimeData()->urls();
        for (const QUrl &url : urls) {
            if (!url.isLocalFile())
                continue;
            event->setDropAction(Qt::CopyAction);
            event->accept();
            return url.toLocalFile();
        }
        return {};
    }
};

/// A named pipe is not opened: that would wait for its other end.
bool CanBeOpened(const QString &path)
{
    QFile file(path);
    return QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly);
}

} // namespace

frmForward::frmForward(LinkState &state, Prompts &prompts, Jobs &jobs, ForwardMemory *memory,
                       ForwardOptions options, QWidget *parent)
    : FormDialog(QStringLiteral("frmForward"), Text(Str::ForwardTitle), prompts, jobs, parent),
      state_(&state), memory_(memory), options_(std::move(options))
{
    auto *const column = new QVBoxLayout(this);
    column->addWidget(BuildFile());
    column->addSpacing(4);
    column->addWidget(BuildTitle());
    if (!options_.withExcel) {
        cbShow_ = NewNamed<QCheckBox>("cbShow", Text(Str::ForwardOpenAfter), this);
        column->addSpacing(4);
        column->addWidget(cbShow_);
    }
    column->addSpacing(8);
    column->addStretch(1);
    column->addWidget(BuildButtons(Text(Str::Ok), Text(Str::Cancel)));
    Load();
    Enter(tbTitle_); // the field that most often changes
}

QGroupBox *frmForward::BuildFile()
{
    auto *const frFile = NewNamed<QGroupBox>("frFile", Text(Str::ForwardFileFrame), this);
    obNew_ = NewNamed<QRadioButton>("obNew", Text(Str::ForwardNew), frFile);
    obOpen_ = NewNamed<QRadioButton>("obOpen", Text(Str::ForwardCustom), frFile);
    tbFile_ = NewNamed<FileBox>("tbFile", frFile);
    tbFile_->setAccessibleName(frFile->title());
    tbFile_->setMinimumWidth(tbFile_->fontMetrics().averageCharWidth() * FieldWidth);
    tbFile_->setValidator(new OneLineValidator(QStringLiteral(" "), tbFile_));
    btBrawse_ = NewNamed<QPushButton>("btBrawse", Text(Str::ForwardBrowse), frFile);
    cbFile_ = NewNamed<QCheckBox>("cbFile", Text(Str::ForwardKeepFile), frFile);

    auto *const file = new QHBoxLayout;
    file->addWidget(tbFile_, 1);
    file->addWidget(btBrawse_);
    auto *const column = new QVBoxLayout(frFile);
    column->addLayout(RowOfOptions({obNew_, obOpen_}));
    column->addSpacing(6);
    column->addLayout(file);
    column->addWidget(cbFile_);
    connect(tbFile_, &QLineEdit::textChanged, obOpen_, [this] { obOpen_->setChecked(true); });
    connect(btBrawse_, &QPushButton::clicked, this, [this] {
        if (!asking_)
            jobs_->Launch(Browse(this), "browsing for a workbook");
    });
    return frFile;
}

QGroupBox *frmForward::BuildTitle()
{
    auto *const frTitle = NewNamed<QGroupBox>("frTitle", Text(Str::ForwardTitleFrame), this);
    tbTitle_ = NewNamed<QLineEdit>("tbTitle", frTitle);
    tbTitle_->setAccessibleName(frTitle->title());
    tbTitle_->setValidator(new OneLineValidator(QStringLiteral(" "), tbTitle_));
    cbTitle_ = NewNamed<QCheckBox>("cbTitle", Text(Str::ForwardKeepTitle), frTitle);
    auto *const column = new QVBoxLayout(frTitle);
    column->addWidget(tbTitle_);
    column->addWidget(cbTitle_);
    return frTitle;
}

void frmForward::Load()
{
    tbFile_->setText(QDir::toNativeSeparators(memory_->file));
    tbTitle_->setText(memory_->title);
    (memory_->file.isEmpty() ? obNew_ : obOpen_)
        ->setChecked(true); // after the text, whose change chooses Custom
    cbFile_->setChecked(true);
    cbTitle_->setChecked(true);
    if (cbShow_)
        cbShow_->setChecked(memory_->openAfter);
}

QCoro::Task<void> frmForward::Browse(QPointer<frmForward> dialog)
{
    dialog->asking_ = true;
    Prompts *const prompts = dialog->prompts_;
    const QString workbooks = Text(Str::ExcelWorkbooks) + QStringLiteral(" (*.xlsx *.xlsm)");
    const QString filter = Text(Str::ExcelFiles) + QStringLiteral(" (*.xls);;") + workbooks;
    // Without Excel, .xls files are not offered first: only Excel can write them.
    const QString preferred = dialog->options_.withExcel ? QString() : workbooks;
    const QString name = co_await prompts->AskOpenFile(filter, preferred);
    if (!dialog)
        co_return;
    dialog->asking_ = false;
    if (name.isEmpty())
        co_return;
    dialog->tbFile_->setText(QDir::toNativeSeparators(name));
    dialog->obOpen_->setChecked(true); // also if the text is the same
    dialog->tbFile_->setFocus();
}

void frmForward::Confirm()
{
    ForwardChoice choice;
    if (obOpen_->isChecked()) {
        const QString path = QDir::fromNativeSeparators(tbFile_->text());
        choice.fileName = QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath());
        Result<> fit;
        if (!CanBeOpened(path))
            fit = Fail(Text(Str::ForwardFileNotFound));
        else if (options_.check)
            fit = options_.check(choice.fileName);
        if (!fit) {
            const QString allowed =
                Text(options_.withExcel ? Str::ForwardFileAllowedByExcel : Str::ForwardFileAllowed)
                    .arg(Text(Str::ForwardFileFrame), Text(Str::ForwardCustom));
            const QStringList lines = {fit.error().text, QDir::toNativeSeparators(path), allowed};
            Refuse(tbFile_, lines.join(QStringLiteral("\r\n")));
            return;
        }
        memory_->file = cbFile_->isChecked() ? choice.fileName : QString();
    }
    choice.title = tbTitle_->text();
    memory_->title = cbTitle_->isChecked() ? choice.title : QString();
    choice.openAfter = cbShow_ && cbShow_->isChecked();
    if (cbShow_)
        memory_->openAfter = choice.openAfter;
    choice_ = choice;
    state_->CancelRequest = false;
    accept();
}

void frmForward::reject()
{
    state_->CancelRequest = true;
    FormDialog::reject();
}

} // namespace px40
