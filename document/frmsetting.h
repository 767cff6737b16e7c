#pragma once

#include "document/graphform.h"
#include "platform/formdialog.h"

#include <array>
#include <memory>

class QLabel;

namespace px40 {

/// "Graph setup": the data range and both axes of one data set's graph. OK and Apply complain of the first
/// faulty field and change nothing then. Typing in a field makes its axis a custom one.
class frmSetting : public FormDialog
{
    Q_OBJECT

  public:
    /// Keeps the data set alive as long as it is open; `prompts` and `jobs` must outlive it.
    frmSetting(std::shared_ptr<DataSet> dataSet, Prompts &prompts, Jobs &jobs, QWidget *parent);

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void Confirm() override;

  private:
    void Load(const GraphForm &form);
    /// False when a field is faulty; the user is then told.
    bool Apply();

    std::shared_ptr<DataSet> dataSet_;
    QRadioButton *obXauto_ = nullptr;
    QRadioButton *obXuser_ = nullptr;
    QRadioButton *obYauto_ = nullptr;
    QRadioButton *obYuser_ = nullptr;
    QLabel *llMajor_ = nullptr;
    std::array<QLineEdit *, GraphFieldCount> fields_{};
};

} // namespace px40
