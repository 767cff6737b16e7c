#pragma once

#include <QValidator>

namespace px40 {

/// Passes any text, as one line, in whatever way it comes in: typed, pasted, dropped or by an input method.
class OneLineValidator : public QValidator
{
  public:
    /// `between` takes the place of the line breaks but those at the end, which go.
    OneLineValidator(const QString &between, QObject *parent);

    State validate(QString &text, int &cursor) const override;

  private:
    QString between_;
};

} // namespace px40
