#pragma once

#include "document/graphform.h"

#include <QCoro/QCoroTask>
#include <QDialog>
#include <QPointer>

#include <memory>

class QDialogButtonBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace px40 {

class Jobs;
class Prompts;

/// "Graph setup": the data range and both axes of one data set's graph. OK and Apply tell of the first faulty
/// field and change nothing then. Typing in a field makes its axis a custom one.
class frmSetting : public QDialog
{
    Q_OBJECT

  public:
    /// Keeps the data set alive as long as it is open; `prompts` and `jobs` must outlive it. Deletes itself
    /// when closed.
    frmSetting(std::shared_ptr<DataSet> dataSet, Prompts &prompts, Jobs &jobs, QWidget *parent);

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    static QCoro::Task<void> Refuse(QPointer<frmSetting> dialog, QString complaint, GraphField field);
    QGroupBox *BuildXaxis();
    QGroupBox *BuildYaxis();
    QDialogButtonBox *BuildButtons();
    void Load(const GraphForm &form);
    /// False when a field is faulty; the user is then told.
    bool Apply();
    QLineEdit *Box(GraphField field) const;

    std::shared_ptr<DataSet> dataSet_;
    Prompts *prompts_;
    Jobs *jobs_;
    QRadioButton *obXauto_ = nullptr;
    QRadioButton *obXuser_ = nullptr;
    QLineEdit *tbEnd_ = nullptr;
    QLineEdit *tbTick_ = nullptr;
    QLineEdit *tbLabel_ = nullptr;
    QRadioButton *obYauto_ = nullptr;
    QRadioButton *obYuser_ = nullptr;
    QLineEdit *tbMin_ = nullptr;
    QLineEdit *tbMax_ = nullptr;
    QLabel *llMajor_ = nullptr;
    QLineEdit *tbMajor_ = nullptr;
    QLineEdit *tbMinor_ = nullptr;
    QPushButton *btOk_ = nullptr;
    QPushButton *btCancel_ = nullptr;
    QPushButton *btApply_ = nullptr;
    bool refusing_ = false; ///< the message about a faulty field is up
};

} // namespace px40
