#pragma once

#include "acquire/intervalform.h"

#include <QCoro/QCoroTask>
#include <QDialog>
#include <QPointer>

#include <array>
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

/// "Interval and period setup": the time between two readings of one data set and the time after which its
/// acquisition ends. OK tells of the first faulty duration and changes nothing then. Typing in a field of the
/// period chooses "Custom". The interval is closed to changes as soon as the data set has readings, also when
/// the first one comes while the dialog is open.
class frmInterval : public QDialog
{
    Q_OBJECT

  public:
    /// Keeps the data set alive as long as it is open; `prompts` and `jobs` must outlive it. Deletes itself
    /// when closed.
    frmInterval(std::shared_ptr<DataSet> dataSet, Prompts &prompts, Jobs &jobs, QWidget *parent);

  private:
    using Boxes = std::array<QLineEdit *, DurationParts.size()>; ///< tbIday to tbIsec, tbPday to tbPsec

    static QCoro::Task<void> Refuse(QPointer<frmInterval> dialog, QString complaint, IntervalFault fault);
    void EnterFaulty(const IntervalFault &fault);
    QGroupBox *BuildInterval();
    QGroupBox *BuildPeriod();
    void BeginPeriod();
    QDialogButtonBox *BuildButtons();
    void Load(const IntervalForm &form);
    void FollowReadings();
    void Confirm();

    std::shared_ptr<DataSet> dataSet_;
    Prompts *prompts_;
    Jobs *jobs_;
    QGroupBox *frInterval_ = nullptr;
    Boxes interval_{};
    QLabel *llFixed_ = nullptr;
    QRadioButton *obNone_ = nullptr;
    QRadioButton *obUser_ = nullptr;
    Boxes period_{};
    QPushButton *btOk_ = nullptr;
    QPushButton *btCancel_ = nullptr;
    bool refusing_ = false; ///< the message about a faulty duration is up
};

} // namespace px40
