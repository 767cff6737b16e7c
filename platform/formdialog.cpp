#include "platform/formdialog.h"

#include "platform/jobs.h"
#include "platform/prompts.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

namespace px40 {

FormDialog::FormDialog(const QString &name, const QString &title, Prompts &prompts, Jobs &jobs,
                       QWidget *parent)
    : QDialog(parent), prompts_(&prompts), jobs_(&jobs)
{
    setObjectName(name);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(title);
}

QDialogButtonBox *FormDialog::BuildButtons(const QString &ok, const QString &cancel)
{
    auto *const buttons = new QDialogButtonBox(this);
    btOk_ = buttons->addButton(ok, QDialogButtonBox::AcceptRole);
    btOk_->setObjectName(QStringLiteral("btOk"));
    btOk_->setDefault(true);
    QPushButton *const btCancel = buttons->addButton(cancel, QDialogButtonBox::RejectRole);
    btCancel->setObjectName(QStringLiteral("btCancel"));
    connect(btOk_, &QPushButton::clicked, this, [this] {
        if (!asking_)
            Confirm();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    return buttons;
}

QHBoxLayout *FormDialog::RowOfOptions(std::initializer_list<QRadioButton *> options)
{
    auto *const row = new QHBoxLayout;
    row->setSpacing(18);
    for (QRadioButton *const option : options) {
        option->setFocusPolicy(Qt::ClickFocus);
        connect(option, &QRadioButton::toggled, option,
                [option](bool on) { option->setFocusPolicy(on ? Qt::StrongFocus : Qt::ClickFocus); });
        row->addWidget(option);
    }
    row->addStretch(1);
    return row;
}

void FormDialog::Enter(QLineEdit *field)
{
    field->setFocus();
    field->selectAll();
}

void FormDialog::Refuse(QLineEdit *field, const QString &complaint)
{
    jobs_->Launch(WarnAndReturn(this, field, complaint), "refusing a field");
}

QCoro::Task<void> FormDialog::WarnAndReturn(QPointer<FormDialog> dialog, QLineEdit *field, QString complaint)
{
    dialog->asking_ = true;
    Enter(field); // a box is placed clear of the field that has the focus
    Prompts *const prompts = dialog->prompts_;
    co_await prompts->Warn(complaint);
    if (!dialog)
        co_return;
    dialog->asking_ = false;
    Enter(field); // the field lives as long as the dialog
}

} // namespace px40
