#pragma once

#include "acquire/intervalform.h"
#include "platform/formdialog.h"

#include <array>
#include <memory>

class QGroupBox;
class QLabel;

namespace px40 {

/// "Interval and period setup": the time between two readings of one data set and the time after which its
/// acquisition ends. OK complains of the first faulty field and changes nothing then. Typing in a field of
/// the period chooses "Custom". The interval cannot be changed once the data set has readings, even if the
/// first one comes while the dialog is open.
class frmInterval : public FormDialog
{
    Q_OBJECT

  public:
    /// Keeps the data set alive as long as it is open; `prompts` and `jobs` must outlive it.
    frmInterval(std::shared_ptr<DataSet> dataSet, Prompts &prompts, Jobs &jobs, QWidget *parent);

  protected:
    void Confirm() override;

  private:
    using Boxes = std::array<QLineEdit *, DurationParts.size()>; ///< tbIday to tbIsec, tbPday to tbPsec

    QGroupBox *BuildPeriod();
    void BeginPeriod();
    void Load(const IntervalForm &form);
    void FollowReadings();

    std::shared_ptr<DataSet> dataSet_;
    QGroupBox *frInterval_ = nullptr;
    Boxes interval_{};
    QLabel *llFixed_ = nullptr;
    QRadioButton *obNone_ = nullptr;
    QRadioButton *obUser_ = nullptr;
    Boxes period_{};
};

} // namespace px40
