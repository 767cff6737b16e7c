#include "app/titlecard.h"

#include "resources/icons.h"
#include "resources/strings.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace px40 {

namespace {

void Line(const QString &text, double scale, QVBoxLayout *column)
{
    auto *const label = new QLabel(text);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * scale);
    font.setBold(scale > 1.3);
    label->setFont(font);
    column->addWidget(label);
}

} // namespace

QString ProgramVersion()
{
    return QStringLiteral(PX40_VERSION);
}

TitleCard::TitleCard(QWidget *parent) : QWidget(parent)
{
    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(24, 24, 24, 24);
    row->setSpacing(24);
    auto *const picture = new QLabel(this);
    picture->setPixmap(ApplicationPixmap(112, devicePixelRatioF()));
    picture->setFixedSize(112, 112);
    row->addWidget(picture, 0, Qt::AlignTop);

    auto *const column = new QVBoxLayout;
    column->setSpacing(4);
    row->addLayout(column, 1);
    Line(Text(Str::ApplicationTitle), 1.7, column);
    Line(Text(Str::Version) + ProgramVersion(), 1.1, column);
    column->addSpacing(8);
    Line(Text(Str::ProductLine), 1.0, column);
    column->addSpacing(8);
    for (const Str notice : {Str::CopyrightLine, Str::LicenceLine, Str::NoWarrantyLine})
        Line(Text(notice), 0.9, column);
    column->addStretch(1);
}

} // namespace px40
