#pragma once

#include <QDialog>

class QDialogButtonBox;
class QLabel;
class QLineEdit;

namespace px40 {

class SourceCommands;
class InstrumentState;

/// "MEAS VAL.": the user types a new value for the instrument's source. SET and the Enter key hand it on, as
/// it was typed, to be sent; Cancel changes nothing. A value with a character that has no code on the line is
/// refused in the dialog, which stays open.
class frmSrcValueSet : public QDialog
{
    Q_OBJECT

  public:
    /// Shows the value that the last status told, or that was entered last, wholly selected. What is handed
    /// in must outlive the dialog. Modeless: shown by the caller with `show`; deletes itself when closed.
    frmSrcValueSet(SourceCommands &commands, const InstrumentState &instrument, QWidget *parent);

    /// The unit in which the instrument takes the value at present; empty when nothing is known of it.
    void ShowUnit(const QString &unit);

  private:
    void BuildValue();
    void BuildNote();
    QDialogButtonBox *BuildButtons();
    void Submit();

    SourceCommands *commands_;
    QLineEdit *tbSrcValue_;
    QLabel *llUnit_;
    QLabel *llRefused_;
};

} // namespace px40
