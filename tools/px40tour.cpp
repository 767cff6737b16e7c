#include "resources/housestyle.h"
#include "resources/icons.h"
#include "resources/strings.h"
#include "tools/scenes.h"
#include "tools/stage.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QLoggingCategory>
#include <QPalette>
#include <QTemporaryDir>

#include <cstdio>

namespace {

using namespace Qt::Literals::StringLiterals;

void UseDarkColours()
{
    static constexpr std::pair<QPalette::ColorRole, QRgb> Colours[] = {
        {QPalette::Window, 0x2d2d30},
        {QPalette::WindowText, 0xe1e1e1},
        {QPalette::Base, 0x1e1e20},
        {QPalette::AlternateBase, 0x262629},
        {QPalette::ToolTipBase, 0x2d2d30},
        {QPalette::ToolTipText, 0xe1e1e1},
        {QPalette::PlaceholderText, 0x9b9b9b},
        {QPalette::Text, 0xe1e1e1},
        {QPalette::Button, 0x38383c},
        {QPalette::ButtonText, 0xe1e1e1},
        {QPalette::BrightText, 0xffffff},
        {QPalette::Link, 0x5aaafa},
        {QPalette::Highlight, 0x3278c8},
        {QPalette::HighlightedText, 0xffffff},
    };
    QPalette palette(QColor(0x2d, 0x2d, 0x30));
    for (const auto &[role, colour] : Colours)
        palette.setColor(role, QColor(colour));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(127, 127, 127));
    palette.setColor(QPalette::Disabled, QPalette::Highlight, QColor(80, 80, 80));
    QApplication::setPalette(palette);
}

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
    for (const auto scene :
         {FirstStart, MainWindow, Graph, Files, Measure, Source, Runs, ForwardReadings, ForwardRuns}) {
        Stage stage(camera, scene == FirstStart ? Program::Port::Unassigned : Program::Port::Simulated);
        scene(stage);
    }
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
        UseDarkColours();

    Camera camera(folder);
    try {
        Tour(camera);
    } catch (const RigError &error) {
        std::fprintf(stderr, "After the picture %s: %s\n", qPrintable(camera.Last()), error.what());
        return 1;
    }
    std::printf("%d pictures in %s\n", camera.Pictures(), qPrintable(folder));
    return 0;
}
