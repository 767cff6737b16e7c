#pragma once

#include <QString>

namespace px40 {

/// Checks a SAVE-mode record: its text followed by one check character, the low four bits of the sum of
/// the codes before it as an upper-case hexadecimal digit. On success the check character is taken off
/// `reply`; on failure `reply` is unchanged.
bool CheckDigitOk(QString *reply);

/// Judges a SAVE-mode reply. False when the check character is wrong or the instrument refused the
/// command; `errorMessage` then says which. An empty record ("RS") clears both outputs, any other record
/// leaves them alone.
bool CheckSaveRecord(const QString &reply, QString *value, QString *unit, QString *errorMessage);

} // namespace px40
