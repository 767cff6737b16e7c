#pragma once

#include <QCoro/QCoroTask>
#include <QDialog>
#include <QPointer>

#include <initializer_list>

class QDialogButtonBox;
class QHBoxLayout;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace px40 {

class Jobs;
class Prompts;

/// A dialog with fields, OK and Cancel. OK either takes what was entered or tells what is wrong with it and
/// returns to the field. Deletes itself when closed.
class FormDialog : public QDialog
{
    Q_OBJECT

  protected:
    /// `prompts` and `jobs` must outlive the dialog.
    FormDialog(const QString &name, const QString &title, Prompts &prompts, Jobs &jobs, QWidget *parent);

    /// "btOk", which Enter presses, and "btCancel".
    QDialogButtonBox *BuildButtons(const QString &ok, const QString &cancel);
    /// In a row. Tab reaches the chosen one only.
    static QHBoxLayout *RowOfOptions(std::initializer_list<QRadioButton *> options);
    /// Selects all that stands in a field, so that it can be typed anew.
    static void Enter(QLineEdit *field);

    /// OK was pressed; not while a message is up.
    virtual void Confirm() = 0;
    void Refuse(QLineEdit *field, const QString &complaint);

    Prompts *prompts_;
    Jobs *jobs_;
    QPushButton *btOk_ = nullptr;
    bool asking_ = false; ///< a message or another dialog stands before this one

  private:
    static QCoro::Task<void> WarnAndReturn(QPointer<FormDialog> dialog, QLineEdit *field, QString complaint);
};

} // namespace px40
