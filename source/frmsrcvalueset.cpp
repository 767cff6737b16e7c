#include "source/frmsrcvalueset.h"

#include "acquire/status.h"
#include "platform/named.h"
#include "platform/onelinevalidator.h"
#include "resources/strings.h"
#include "source/sourcecommands.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace px40 {

namespace {

constexpr int FieldWidth = 24; // digits: a value has seven, but the note below it is a sentence

QString UnknownCharacterText(const QString &character)
{
    return Text(Str::SourceUnknownCharacter).arg(character);
}

} // namespace

frmSrcValueSet::frmSrcValueSet(SourceCommands &commands, const InstrumentState &instrument, QWidget *parent)
    : QDialog(parent), commands_(&commands), tbSrcValue_(NewNamed<QLineEdit>("tbSrcValue", this)),
      llUnit_(NewNamed<QLabel>("llUnit", this)), llRefused_(NewNamed<QLabel>("llRefused", this))
{
    setObjectName(QStringLiteral("frmSrcValueSet"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(Text(Str::SourceValueTitle));
    BuildValue();
    BuildNote();
    auto *const column = new QVBoxLayout(this);
    auto *const row = new QHBoxLayout;
    row->addWidget(tbSrcValue_, 1);
    row->addWidget(llUnit_);
    column->addLayout(row);
    column->addWidget(llRefused_);
    column->addStretch(1);
    column->addWidget(BuildButtons());
    tbSrcValue_->setText(instrument.Status.SourceValue);
    tbSrcValue_->selectAll();
    tbSrcValue_->setFocus();
}

void frmSrcValueSet::BuildValue()
{
    tbSrcValue_->setAccessibleName(windowTitle());
    tbSrcValue_->setMinimumWidth(tbSrcValue_->fontMetrics().horizontalAdvance(u'0') * FieldWidth);
    tbSrcValue_->setValidator(new OneLineValidator(QString(), tbSrcValue_));
    connect(tbSrcValue_, &QLineEdit::textChanged, llRefused_, &QLabel::clear);
    llUnit_->setMinimumWidth(llUnit_->fontMetrics().horizontalAdvance(QStringLiteral("Cycle")));
}

void frmSrcValueSet::ShowUnit(const QString &unit)
{
    llUnit_->setText(unit);
}

/// Reserves the height of the note, so that the dialog does not jump when it appears. It may quote a
/// character of a script with higher lines, such as Chinese.
void frmSrcValueSet::BuildNote()
{
    llRefused_->setTextFormat(Qt::PlainText);
    llRefused_->setWordWrap(true);
    llRefused_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    const QRect narrowest(0, 0, tbSrcValue_->minimumWidth(), 0);
    const QFontMetrics metrics = llRefused_->fontMetrics();
    const QRect lines =
        metrics.boundingRect(narrowest, Qt::TextWordWrap, UnknownCharacterText(QStringLiteral("\u4e2d")));
    llRefused_->setMinimumHeight(lines.height() + metrics.leading() + metrics.descent());
    llRefused_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
}

QDialogButtonBox *frmSrcValueSet::BuildButtons()
{
    auto *const buttons = new QDialogButtonBox(this);
    QPushButton *const btSet = buttons->addButton(Text(Str::SourceSet), QDialogButtonBox::AcceptRole);
    btSet->setObjectName(QStringLiteral("btSet"));
    btSet->setDefault(true); // the Enter key in the text box presses it
    QPushButton *const btCancel = buttons->addButton(Text(Str::SourceCancel), QDialogButtonBox::RejectRole);
    btCancel->setObjectName(QStringLiteral("btCancel"));
    connect(btSet, &QPushButton::clicked, this, &frmSrcValueSet::Submit);
    connect(btCancel, &QPushButton::clicked, this, &QDialog::reject);
    return buttons;
}

void frmSrcValueSet::Submit()
{
    const QString value = tbSrcValue_->text();
    if (commands_->EnterValue(value)) {
        accept();
        return;
    }
    const QString unknown = Unsendable(value);
    llRefused_->setText(UnknownCharacterText(unknown));
    tbSrcValue_->setFocus();
    tbSrcValue_->setSelection(static_cast<int>(value.indexOf(unknown)), static_cast<int>(unknown.size()));
}

} // namespace px40
