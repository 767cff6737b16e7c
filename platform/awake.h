#pragma once

#include <QObject>
#include <QString>

#include <memory>

class QDBusConnection;

namespace px40 {

/// Keeps the computer from going to sleep by itself, by an inhibitor of the system's log-in service (logind),
/// or on Windows by what it has for that. Nobody waits for the answer, which comes from the event loop. A lid
/// or a user may send the computer to sleep all the same. Where there is no such service it is refused.
class Awake : public QObject
{
    Q_OBJECT

  public:
    /// `bus`: null for the system's. On Windows it lives on one thread, and goes before that one ends.
    explicit Awake(const QDBusConnection *bus = nullptr);
    ~Awake() override;

    /// `purpose` is what the service tells people.
    void Hold(const QString &purpose);
    void Release();
    void Keep(bool awake, const QString &purpose) { awake ? Hold(purpose) : Release(); }

    /// The service has agreed, and keeps the computer awake.
    bool IsHeld() const;

  Q_SIGNALS:
    void held();
    void refused(const QString &reason);

  private:
    void Ask(const QString &purpose);

    struct Inhibitor;
    std::unique_ptr<Inhibitor> inhibitor_;
    int asked_ = 0; ///< the number of the last question; an answer to an older one comes too late
};

} // namespace px40
