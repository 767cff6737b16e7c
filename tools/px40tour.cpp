#include "resources/housestyle.h"
#include "resources/icons.h"
#include "resources/strings.h"
#include "tools/colours.h"
#include "tools/golden.h"
#include "tools/scenes.h"
#include "tools/stage.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFontInfo>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <cstdio>

namespace {

using namespace Qt::Literals::StringLiterals;

const QString GoldenFont = u"DejaVu Sans"_s;

/// The user's own folder, for as long as the tour takes: what the file dialogs show is the same everywhere,
/// and nothing of the person who runs this is seen or touched.
void MoveHome(const QTemporaryDir &folder)
{
    const QString home = folder.filePath(u"operator"_s);
    QDir().mkpath(home + u"/Documents"_s);
    qputenv("HOME", home.toLocal8Bit());
    for (const char *const variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qunsetenv(variable);
}

void Tour(px40::Camera &camera)
{
    using namespace px40;
    for (const auto scene : {FirstStart, MainWindow, Graph, Files, Recovery, Measure, Source, Runs,
                             ForwardReadings, ForwardRuns, OtherColours}) {
        Stage stage(camera, scene == FirstStart ? Program::Port::Unassigned : Program::Port::Simulated);
        scene(stage);
    }
}

/// Returns the program's exit code.
int Compare(const QString &golden, const QString &guide, const QString &taken, bool renew)
{
    using namespace px40;
    const double density = qApp->devicePixelRatio();
    if (renew) {
        if (!golden.isEmpty())
            RenewGolden(golden, taken, density);
        if (!guide.isEmpty())
            RenewGuide(guide, taken);
        return 0;
    }
    // With other letters everything has another width.
    if (golden.isEmpty() && guide.isEmpty())
        return 0;
    const QString family = QFontInfo(QApplication::font()).family();
    if (family != GoldenFont) {
        std::printf("Not compared: the pictures kept are meant for %s, and this is %s.\n",
                    qPrintable(GoldenFont), qPrintable(family));
        return 0;
    }
    QStringList differences;
    if (!golden.isEmpty())
        differences << Differences(golden, taken, density);
    if (!guide.isEmpty())
        differences << Outdated(guide, taken);
    for (const QString &one : differences)
        std::fprintf(stderr, "%s\n", qPrintable(one));
    return differences.isEmpty() ? 0 : 1;
}

} // namespace

int main(int argc, char *argv[])
{
    using namespace px40;

    QLoggingCategory::setFilterRules(u"px40.*.info=false\npx40.link.warning=false"_s);
    QApplication::setApplicationName(u"px40tour"_s);
    const QTemporaryDir ownFolder;
    MoveHome(ownFolder);
    QApplication::setAttribute(
        Qt::AA_DontUseNativeDialogs); // those of the desktop cannot be worked from here
    QApplication application(argc, argv);
    QApplication::setApplicationDisplayName(Text(Str::ApplicationTitle));
    QApplication::setWindowIcon(ApplicationIcon());
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setCursorFlashTime(0); // no picture may depend on the moment

    QCommandLineParser parser;
    parser.setApplicationDescription(u"Opens the windows of the program on a simulated instrument, does "
                                     "each of its jobs and writes pictures of all windows."_s);
    parser.addHelpOption();
    const QCommandLineOption dark(u"dark"_s, u"Use a dark palette."_s);
    parser.addOption(dark);
    const QCommandLineOption compare(
        u"compare"_s, u"Compare the pictures with the small ones of the same names in GOLDEN."_s,
        u"GOLDEN"_s);
    const QCommandLineOption guide(
        u"guide"_s,
        u"Compare the pictures with those of the same names in GUIDE, which are to be the same."_s,
        u"GUIDE"_s);
    const QCommandLineOption renew(u"renew"_s, u"Make those in GOLDEN and GUIDE anew instead."_s);
    parser.addOptions({compare, guide, renew});
    parser.addPositionalArgument(u"FOLDER"_s, u"Where the pictures are written; made if need be."_s);
    parser.process(application);
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1) {
        std::fputs("px40tour takes one folder; try --help.\n", stderr);
        return 2;
    }
    const QString folder = arguments.constFirst();
    if (!QDir().mkpath(folder)) {
        std::fprintf(stderr, "The folder \"%s\" cannot be made.\n", qPrintable(folder));
        return 1;
    }
    QApplication::setStyle(new HouseStyle);
    if (parser.isSet(dark))
        QApplication::setPalette(DarkColours());

    Camera camera(folder);
    try {
        Tour(camera);
        std::printf("%d pictures in %s\n", camera.Pictures(), qPrintable(folder));
        return Compare(parser.value(compare), parser.value(guide), folder, parser.isSet(renew));
    } catch (const RigError &error) {
        std::fprintf(stderr, "After the picture %s: %s\n", qPrintable(camera.Last()), error.what());
        return 1;
    }
}
