#pragma once

#include <QDialog>

class QTextBrowser;

namespace px40 {

/// Shows the guide where the desktop has no browser. Closed by Escape; deletes itself then.
class frmHelp : public QDialog
{
    Q_OBJECT

  public:
    frmHelp();

    /// Shows a chapter.
    void Open(const QString &file);

  private:
    QTextBrowser *text_;
};

} // namespace px40
