#pragma once

#include <QWidget>

namespace px40 {

/// The program's picture, title, version and notices, as the splash and the About window show them.
class TitleCard : public QWidget
{
    Q_OBJECT

  public:
    explicit TitleCard(QWidget *parent = nullptr);
};

/// The version numbers of this program, for example "1.0.0".
QString ProgramVersion();

} // namespace px40
