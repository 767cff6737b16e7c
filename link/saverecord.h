#pragma once

#include "platform/result.h"

#include <QStringView>

#include <optional>

namespace px40 {

/// The record before its check character, which is the last one of a SAVE-mode reply: the low four bits of
/// the sum of the codes before it as an upper-case hexadecimal digit. Nothing when that is wrong.
std::optional<QStringView> CheckedRecord(QStringView reply);

/// Judges a SAVE-mode reply: whether the record holds something. It fails when the check character is wrong
/// or the instrument refused the command.
Result<bool> CheckSaveRecord(const QString &reply);

} // namespace px40
