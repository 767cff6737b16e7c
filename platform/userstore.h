#pragma once

#include <QSettings>
#include <QString>

#include <memory>

namespace px40 {

/// Texts kept per user between runs, by section and key (window positions, the devices assigned to the
/// ports).
class UserStore
{
  public:
    /// The store of the application of that name for the user who runs it.
    explicit UserStore(const QString &application);

    /// A store in a file of its own.
    static UserStore InFile(const QString &path);

    /// Empty when nothing is kept.
    QString Get(const QString &section, const QString &key) const;

    /// The kept text as a number; `fallback` when there is none or it is not a finite number.
    double GetNumber(const QString &section, const QString &key, double fallback) const;

    /// An empty text removes the key. Written later, from the event loop, which then waits for the disk.
    void Save(const QString &section, const QString &key, const QString &text);

    /// The same at once, on any thread; returns when the disk has it.
    void SaveNow(const QString &section, const QString &key, const QString &text) const;

  private:
    explicit UserStore(std::unique_ptr<QSettings> settings);

    std::unique_ptr<QSettings> settings_;
};

} // namespace px40
