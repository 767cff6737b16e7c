#include "forward/forwardoutcome.h"

#include "resources/strings.h"

#include <QFileInfo>

namespace px40 {

QString OutcomeText(const ForwardOutcome &outcome)
{
    const QString rows = outcome.samples == 1 ? Text(Str::OneRow) : Text(Str::Rows).arg(outcome.samples);
    const QString place =
        outcome.file.isEmpty() ? Text(Str::MicrosoftExcel) : QFileInfo(outcome.file).fileName();
    return Text(Str::ForwardDone).arg(rows, place);
}

} // namespace px40
