#include "forward/frmforward.h"

#include "link/linkstate.h"
#include "platform/jobs.h"
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
#include <QRegularExpression>
#include <QUrl>
#include <QVBoxLayout>
#include <QValidator>

#include <algorithm>

namespace px40 {

namespace {

constexpr int FieldWidth = 72; // average characters: most paths fit in

/// Passes any text, with a blank in place of each line break but those at its end.
class OneLineOnly : public QValidator
{
  public:
    using QValidator::QValidator;

    State validate(QString &text, int &cursor) const override
    {
        static const QRegularExpression atEnd(QStringLiteral("[\\r\\n\\x{2028}\\x{2029}]+$"));
        static const QRegularExpression within(QStringLiteral("\\r\\n|[\\r\\n\\x{2028}\\x{2029}]"));
        const qsizetype before = text.left(cursor).replace(within, QStringLiteral(" ")).size();
        text.remove(atEnd).replace(within, QStringLiteral(" "));
        cursor = static_cast<int>(std::min(before, text.size()));
        return Acceptable;
    }
};

/// The name of a file; one that is dropped on it takes the place of what was there.
class FileBox : public QLineEdit
{
  public:
    using QLineEdit::QLineEdit;

  protected:
    void dragEnterEvent(QDragEnterEvent *event) override
    {
        if (TakeFile(event).isEmpty())
            QLineEdit::dragEnterEvent(event);
    }

    void dragMoveEvent(QDragMoveEvent *event) override
    {
        if (TakeFile(event).isEmpty())
            QLineEdit::dragMoveEvent(event);
    }

    void dropEvent(QDropEvent *event) override
    {
        const QString file = TakeFile(event);
        if (file.isEmpty())
            QLineEdit::dropEvent(event);
        else
            setText(QDir::toNativeSeparators(file));
    }

  private:
    /// The first of the files that the event brings, which is accepted then.
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

template <typename Option>
Option *AddOption(const QString &name, Str text, QWidget *parent)
{
    auto *const option = new Option(Text(text), parent);
    option->setObjectName(name);
    return option;
}

/// Without waiting, as a pipe would have us do.
bool CanBeOpened(const QString &path)
{
    QFile file(path);
    return QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly);
}

} // namespace

frmForward::frmForward(LinkState &state, Prompts &prompts, Jobs &jobs, ForwardMemory *memory,
                       ForwardOptions options, QWidget *parent)
    : QDialog(parent), state_(&state), prompts_(&prompts), jobs_(&jobs), memory_(memory),
      options_(std::move(options))
{
    setObjectName(QStringLiteral("frmForward"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(Text(Str::ForwardTitle));
    auto *const column = new QVBoxLayout(this);
    column->addWidget(BuildFile());
    column->addSpacing(4);
    column->addWidget(BuildTitle());
    if (!options_.withExcel) {
        cbShow_ = AddOption<QCheckBox>(QStringLiteral("cbShow"), Str::ForwardOpenAfter, this);
        column->addSpacing(4);
        column->addWidget(cbShow_);
    }
    column->addSpacing(8);
    column->addStretch(1);
    column->addWidget(BuildButtons());
    Load();
    tbTitle_->setFocus(); // what differs most from one forwarding to the next
    tbTitle_->selectAll();
}

QGroupBox *frmForward::BuildFile()
{
    auto *const frFile = AddOption<QGroupBox>(QStringLiteral("frFile"), Str::ForwardFileFrame, this);
    obNew_ = AddOption<QRadioButton>(QStringLiteral("obNew"), Str::ForwardNew, frFile);
    obOpen_ = AddOption<QRadioButton>(QStringLiteral("obOpen"), Str::ForwardCustom, frFile);
    for (QRadioButton *const option : {obNew_, obOpen_}) { // Tab reaches the chosen one only
        option->setFocusPolicy(Qt::ClickFocus);
        connect(option, &QRadioButton::toggled, option,
                [option](bool on) { option->setFocusPolicy(on ? Qt::StrongFocus : Qt::ClickFocus); });
    }
    tbFile_ = new FileBox(frFile);
    tbFile_->setObjectName(QStringLiteral("tbFile"));
    tbFile_->setAccessibleName(frFile->title());
    tbFile_->setMinimumWidth(tbFile_->fontMetrics().averageCharWidth() * FieldWidth);
    tbFile_->setValidator(new OneLineOnly(tbFile_));
    btBrawse_ = AddOption<QPushButton>(QStringLiteral("btBrawse"), Str::ForwardBrowse, frFile);
    cbFile_ = AddOption<QCheckBox>(QStringLiteral("cbFile"), Str::ForwardKeepFile, frFile);

    auto *const options = new QHBoxLayout;
    options->setSpacing(18);
    options->addWidget(obNew_);
    options->addWidget(obOpen_);
    options->addStretch(1);
    auto *const file = new QHBoxLayout;
    file->addWidget(tbFile_, 1);
    file->addWidget(btBrawse_);
    auto *const column = new QVBoxLayout(frFile);
    column->addLayout(options);
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
    auto *const frTitle = AddOption<QGroupBox>(QStringLiteral("frTitle"), Str::ForwardTitleFrame, this);
    tbTitle_ = new QLineEdit(frTitle);
    tbTitle_->setObjectName(QStringLiteral("tbTitle"));
    tbTitle_->setAccessibleName(frTitle->title());
    tbTitle_->setValidator(new OneLineOnly(tbTitle_));
    cbTitle_ = AddOption<QCheckBox>(QStringLiteral("cbTitle"), Str::ForwardKeepTitle, frTitle);
    auto *const column = new QVBoxLayout(frTitle);
    column->addWidget(tbTitle_);
    column->addWidget(cbTitle_);
    return frTitle;
}

QDialogButtonBox *frmForward::BuildButtons()
{
    auto *const buttons = new QDialogButtonBox(this);
    btOk_ = buttons->addButton(Text(Str::Ok), QDialogButtonBox::AcceptRole);
    btOk_->setObjectName(QStringLiteral("btOk"));
    btOk_->setDefault(true);
    btCancel_ = buttons->addButton(Text(Str::Cancel), QDialogButtonBox::RejectRole);
    btCancel_->setObjectName(QStringLiteral("btCancel"));
    connect(btOk_, &QPushButton::clicked, this, &frmForward::Confirm);
    connect(btCancel_, &QPushButton::clicked, this, &frmForward::reject);
    return buttons;
}

void frmForward::Load()
{
    tbFile_->setText(QDir::toNativeSeparators(memory_->file));
    tbTitle_->setText(memory_->title);
    (memory_->file.isEmpty() ? obNew_ : obOpen_)
        ->setChecked(true); // after the text, whose change chooses too
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
    // What only a spreadsheet program can write is not shown first where there is none.
    const QString preferred = dialog->options_.withExcel ? QString() : workbooks;
    const QString name = co_await prompts->AskOpenFile(filter, preferred);
    if (!dialog)
        co_return;
    dialog->asking_ = false;
    if (name.isEmpty())
        co_return;
    dialog->tbFile_->setText(QDir::toNativeSeparators(name));
    dialog->obOpen_->setChecked(true); // also if it was there already
    dialog->tbFile_->setFocus();
}

void frmForward::Confirm()
{
    if (asking_)
        return;
    ForwardChoice choice;
    if (obOpen_->isChecked()) {
        const QString path = QDir::fromNativeSeparators(tbFile_->text());
        QString fault;
        if (!CanBeOpened(path))
            fault = Text(Str::ForwardFileNotFound);
        choice.fileName = QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath());
        if (fault.isEmpty() && options_.whyNot)
            fault = options_.whyNot(choice.fileName);
        if (!fault.isEmpty()) {
            const QString allowed =
                Text(options_.withExcel ? Str::ForwardFileAllowedByExcel : Str::ForwardFileAllowed)
                    .arg(Text(Str::ForwardFileFrame), Text(Str::ForwardCustom));
            const QStringList lines = {fault, QDir::toNativeSeparators(path), allowed};
            jobs_->Launch(Refuse(this, lines.join(QStringLiteral("\r\n"))), "refusing a workbook");
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

QCoro::Task<void> frmForward::Refuse(QPointer<frmForward> dialog, QString complaint)
{
    dialog->asking_ = true;
    Prompts *const prompts = dialog->prompts_;
    dialog->tbFile_->setFocus(); // the box keeps clear of it, and gives it back
    dialog->tbFile_->selectAll();
    co_await prompts->Warn(complaint);
    if (dialog)
        dialog->asking_ = false;
}

void frmForward::reject()
{
    state_->CancelRequest = true;
    QDialog::reject();
}

} // namespace px40
