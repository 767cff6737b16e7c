#pragma once

#include "forward/forwardchoice.h"

#include <QCoro/QCoroTask>
#include <QDialog>
#include <QPointer>

#include <functional>

class QCheckBox;
class QDialogButtonBox;
class QGroupBox;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace px40 {

class Jobs;
class Prompts;
struct LinkState;

struct ForwardOptions
{
    /// The workbook is written by a spreadsheet program, which shows it; else the user is asked whether to
    /// open it afterwards.
    bool withExcel = false;
    /// Why that existing workbook cannot be used, in one sentence; empty when it can. May be left out.
    std::function<QString(QString)> whyNot;
};

/// "Forward to Microsoft Excel": into a new workbook or into one that is there, and under which title. A
/// change of the file's name chooses "Custom". OK tells of a file that cannot be used, changes nothing then
/// and stays; else it clears `CancelRequest` of the link state. Any other way out sets that, and nothing
/// else.
class frmForward : public QDialog
{
    Q_OBJECT

  public:
    /// `state`, `prompts`, `jobs` and `memory`, which OK brings up to date, must outlive it. Deletes itself
    /// when closed, so whoever wants the choice takes it in a slot of `finished`.
    frmForward(LinkState &state, Prompts &prompts, Jobs &jobs, ForwardMemory *memory, ForwardOptions options,
               QWidget *parent);

    /// Valid after OK.
    const ForwardChoice &Choice() const { return choice_; }

    void reject() override;

  private:
    static QCoro::Task<void> Browse(QPointer<frmForward> dialog);
    static QCoro::Task<void> Refuse(QPointer<frmForward> dialog, QString complaint);
    QGroupBox *BuildFile();
    QGroupBox *BuildTitle();
    QDialogButtonBox *BuildButtons();
    void Load();
    void Confirm();

    LinkState *state_;
    Prompts *prompts_;
    Jobs *jobs_;
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
    QPushButton *btOk_ = nullptr;
    QPushButton *btCancel_ = nullptr;
    bool asking_ = false; ///< a message or the file dialog is up
};

} // namespace px40
