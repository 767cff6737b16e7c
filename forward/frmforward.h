#pragma once

#include "forward/forwardchoice.h"
#include "platform/formdialog.h"
#include "platform/result.h"

#include <functional>

class QCheckBox;
class QGroupBox;
class QPushButton;

namespace px40 {

struct LinkState;

struct ForwardOptions
{
    /// The workbook is written by a spreadsheet program, which shows it; else the user is asked whether to
    /// open it afterwards.
    bool withExcel = false;
    /// Whether that existing workbook can be used. May be left out.
    std::function<Result<>(QString)> check;
};

/// "Forward to Microsoft Excel": into a new workbook or into one that is there, and under which title. A
/// change of the file's name chooses "Custom". OK tells of a file that cannot be used, changes nothing then
/// and stays; else it clears `CancelRequest` of the link state. Any other way out sets that, and nothing
/// else.
class frmForward : public FormDialog
{
    Q_OBJECT

  public:
    /// `state`, `prompts`, `jobs` and `memory`, which OK brings up to date, must outlive it. It is
    /// gone when closed, so whoever wants the choice takes it in a slot of `finished`.
    frmForward(LinkState &state, Prompts &prompts, Jobs &jobs, ForwardMemory *memory, ForwardOptions options,
               QWidget *parent);

    /// Valid after OK.
    const ForwardChoice &Choice() const { return choice_; }

    void reject() override;

  protected:
    void Confirm() override;

  private:
    static QCoro::Task<void> Browse(QPointer<frmForward> dialog);
    QGroupBox *BuildFile();
    QGroupBox *BuildTitle();
    void Load();

    LinkState *state_;
    ForwardMemory *memory_;
    ForwardOptions options_;
    ForwardChoice choice_;
    QRadioButton *obNew_ = nullptr;
    QRadioButton *obOpen_ = nullptr;
    QLineEdit *tbFile_ = nullptr;
    QPushButton *btBrawse_ = nullptr;
    QCheckBox *cbFile_ = nullptr;
    QLineEdit *tbTitle_ = nullptr;
    QCheckBox *cbTitle_ = nullptr;
    QCheckBox *cbShow_ = nullptr; ///< null with a spreadsheet program
};

} // namespace px40
