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

void CheckLine(const QString &text)
{
    constexpr qsizetype longest = 32768;
    PX40_CHECK(text.size() < longest);
    PX40_CHECK(!text.contains(u'\n'));
    PX40_CHECK(!text.endsWith(u'\r'));
}

void CheckPort(const Settings &settings)
{
    PX40_CHECK(settings.PortNumber() >= 1 && settings.PortNumber() <= 16);
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
    CheckPort(settings);
    bool comparable = true;
    const QString port = settings.PortNumberText;
    for (const QString &text : {port, settings.ForwardFileText, settings.ForwardTitleText}) {
        CheckLine(text);
        comparable = comparable && MustSurvive(text);
    }

    settings.WriteSettingsFile();
    CheckPort(settings);
    Settings again(TestPaths());
    again.ReadFile();
    if (comparable) {
        PX40_CHECK(again.PortNumberText == port);
        PX40_CHECK(again.ForwardFileText == settings.ForwardFileText);
        PX40_CHECK(again.ForwardTitleText == settings.ForwardTitleText);
    }
    return 0;
}
