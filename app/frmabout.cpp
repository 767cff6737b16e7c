#include "app/frmabout.h"

#include "app/titlecard.h"
#include "resources/strings.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QVBoxLayout>

namespace px40 {

frmAbout::frmAbout(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmAbout"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(Text(Str::HelpAbout).remove(u'&').remove(QStringLiteral("...")));
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(new TitleCard(this), 1);

    auto *const buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    buttons->setContentsMargins(12, 0, 12, 12);
    buttons->button(QDialogButtonBox::Close)->setText(Text(Str::Close));
    buttons->button(QDialogButtonBox::Close)->setIcon(QIcon());
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    column->addWidget(buttons);
}

} // namespace px40
