#pragma once

#include <QDialog>

namespace px40 {

/// Title, version and notices of the program.
class frmAbout : public QDialog
{
    Q_OBJECT

  public:
    explicit frmAbout(QWidget *parent = nullptr);
};

} // namespace px40
