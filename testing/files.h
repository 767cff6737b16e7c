#pragma once

#include <QByteArray>
#include <QScopeGuard>
#include <QString>

#ifdef Q_OS_UNIX
#include <csignal>

#include <sys/resource.h>
#endif

namespace px40 {

/// Writes the file anew.
bool Put(const QString &name, const QByteArray &bytes);

/// What a file holds; empty when it cannot be read.
QByteArray Contents(const QString &name);

/// A data file with three samples, the second without a reading, of which the graph shows two. `kind` and
/// `shape` are its first two lines.
QByteArray SampleFile(const char *kind = "2", const char *shape = "9600,5400,0");

/// For a test that only Unix allows: of its links, modes and device files, or of where pointer and focus go,
/// which wine does not tell as a test sets them.
#ifdef Q_OS_UNIX
#define PX40_NEEDS_UNIX() static_cast<void>(0)
#else
#define PX40_NEEDS_UNIX() QSKIP("Files, devices or the focus are not like this here.")
#endif

/// On Unix, where `FullDisk` makes a disk full.
#ifdef Q_OS_UNIX
inline constexpr bool IsUnix = true;
#else
inline constexpr bool IsUnix = false;
#endif
inline constexpr quint64 NoLimit = ~quint64{0};

/// As long as the guard it returns lives, no file grows beyond that size, as on a disk that is full.
[[nodiscard]] inline auto FullDisk([[maybe_unused]] quint64 bytes)
{
#ifdef Q_OS_UNIX
    rlimit before = {};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit little = {bytes, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &little);
    return qScopeGuard([=] {
        ::setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    });
#else
    return qScopeGuard([] {});
#endif
}

} // namespace px40
