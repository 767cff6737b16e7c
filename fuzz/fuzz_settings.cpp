// Any bytes as the settings file: it is read without complaint, and what is written is read back.

#include "app/settings.h"
#include "fuzz/check.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

namespace {

using namespace px40;

const Paths &TestPaths()
{
    static const QTemporaryDir folder;
    static const Paths paths = PathsIn(folder.path());
    return paths;
}

bool WriteBytes(const std::uint8_t *data, std::size_t size)
{
    QFile file(TestPaths().IniPath);
    const auto length = static_cast<qint64>(size);
    return file.open(QIODevice::WriteOnly) &&
           file.write(reinterpret_cast<const char *>(data), length) == length;
}

/// Texts that begin like a file with a byte order mark lose it, and very long lines are cut; no setting of a
/// user is either.
bool MustSurvive(const QString &text)
{
    constexpr qsizetype longest = 8000;
    return text.size() < longest && !text.startsWith(QChar::ByteOrderMark);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    PX40_CHECK(WriteBytes(data, size));
    Settings settings(TestPaths());
    settings.ReadFile();
    const QString port = settings.PortNumberText;
    settings.WriteSettingsFile();
    PX40_CHECK(settings.PortNumber() >= 1 && settings.PortNumber() <= 16);
    if (!MustSurvive(port) || !MustSurvive(settings.ForwardFileText) ||
        !MustSurvive(settings.ForwardTitleText))
        return 0;
    Settings again(TestPaths());
    again.ReadFile();
    PX40_CHECK(again.PortNumberText == port);
    PX40_CHECK(again.ForwardFileText == settings.ForwardFileText);
    PX40_CHECK(again.ForwardTitleText == settings.ForwardTitleText);
    return 0;
}
