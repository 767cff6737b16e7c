#pragma once

#include "link/condition.h"

#include <QObject>
#include <QString>

namespace px40 {

class Comm;
class Jobs;
class LinkGate;
struct LinkState;

/// What the program knows of the instrument: one instance, owned by the application, handed down by
/// reference.
class InstrumentState : public QObject
{
    Q_OBJECT

  public:
    /// A condition line has come from an instrument in normal mode.
    void Take(const QString &reply);

    /// A request gave no usable answer, or could not be made.
    void Miss();

    /// What was received last is shown once more, if it was a status.
    void ShowAgain();

    InstrumentStatus Status;         ///< as received, or as what the user has asked for since will make it
    InstrumentStatus PreviousStatus; ///< as received
    ReadingTexts Sample;             ///< what a row keeps of the last reply; "ERROR" after `Miss`
    bool Known = false;              ///< the last reply was a status
    qint64 Accepted = 0;             ///< how many replies were taken; when it changes there is a new one

  Q_SIGNALS:
    void statusReceived(); ///< it may be shown
};

/// Needed by every part that talks to the instrument; must outlive them all.
struct InstrumentLink
{
    LinkState &state;
    LinkGate &gate;
    Comm &comm;
    Jobs &jobs;
    InstrumentState &instrument;
};

} // namespace px40
