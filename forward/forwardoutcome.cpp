#include "forward/forwardoutcome.h"

#include "resources/strings.h"

#include <QDir>
#include <QFileInfo>

namespace px40 {

QString OutcomeText(const ForwardOutcome &outcome)
{
    const QString rows = outcome.samples == 1 ? Text(Str::OneRow) : Text(Str::Rows).arg(outcome.samples);
    if (outcome.file.isEmpty())
        return Text(Str::ForwardDone).arg(rows, Text(Str::MicrosoftExcel));
    const QFileInfo file(outcome.file);
    return Text(Str::ForwardDoneIn).arg(rows, file.fileName(), QDir::toNativeSeparators(file.absolutePath()));
}

} // namespace px40
