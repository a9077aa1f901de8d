// bench_web_panel: the web panel's show, bus notification to first frame, cold and warm, against
// bench_web_panel_bare, a plain WebEngineView program loading the same page; then the application's start-up
// with the panel built in (never shown) against the same application built without it. Needs the system bus
// (or a private one in DBUS_SYSTEM_BUS_ADDRESS) and port 65005.

#include "app/web/web_engine_setup.h"
#include "bench/bundle_digest/first_frame.h"
#include "bench/web_panel/show_timing.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

using namespace brisko::bench;

namespace {

constexpr int kWarmShows = 8;
constexpr int kProcessesEach = 3;
constexpr int kLaunches = 10;

double median(QList<double> values) {
    if (values.isEmpty()) return -1;
    std::sort(values.begin(), values.end());
    const qsizetype mid = values.size() / 2;
    return values.size() % 2 ? values[mid] : (values[mid - 1] + values[mid]) / 2;
}

// Each side runs in a fresh process so that its first show is really cold.
QList<double> timesFromChild(const QString& program, const QStringList& arguments) {
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(program, arguments);
    if (!child.waitForFinished(300000) || child.exitCode() != 0) qFatal("%s failed", qPrintable(program));
    QList<double> times;
    for (const QByteArray& line : child.readAllStandardOutput().split('\n'))
        if (!line.isEmpty()) times << line.toDouble();
    return times;
}

struct ShowFigures {
    QList<double> cold, warm;
};

ShowFigures collect(const QString& program, const QStringList& arguments) {
    ShowFigures figures;
    for (int i = 0; i < kProcessesEach; ++i) {
        const QList<double> times = timesFromChild(program, arguments);
        if (times.isEmpty()) qFatal("%s reported nothing", qPrintable(program));
        figures.cold << times.first();
        figures.warm << times.mid(1);
    }
    return figures;
}

void printShowComparison() {
    const ShowFigures ours = collect(QCoreApplication::applicationFilePath(), {"--ours"});
    const ShowFigures bare = collect(BRISKO_BARE_PEER, {QString::number(kWarmShows)});
    std::printf("show to first frame (median ms)   panel via bus   bare WebEngineView   ratio\n");
    std::printf("  cold (%d processes)            %10.1f %20.1f %7.2f\n", kProcessesEach, median(ours.cold),
                median(bare.cold), median(ours.cold) / median(bare.cold));
    std::printf("  warm (%d shows)                %10.1f %20.1f %7.2f\n", int(ours.warm.size()),
                median(ours.warm), median(bare.warm), median(ours.warm) / median(bare.warm));
}

// Launches alternate between the two builds so that the machine's load falls on both alike.
void printStartupComparison(const QString& platform) {
    QTemporaryDir withPanel, withoutPanel;
    QList<double> with, without;
    for (int i = 0; i < kLaunches; ++i) {
        with << timeToFirstFrame(BRISKO_APP, withPanel.path(), 1, platform);
        without << timeToFirstFrame(BRISKO_APP_WITHOUT_WEB_PANEL, withoutPanel.path(), 1, platform);
    }
    std::printf(
        "launch to first frame, %s (median of %d, ms)   with panel %.1f   without %.1f   ratio %.3f\n",
        qPrintable(platform), kLaunches, median(with), median(without), median(with) / median(without));
    std::fflush(stdout);
}

// Headless, and on the X display too when there is one: the GL set-up differs between them.
void printStartupComparisons() {
    printStartupComparison(QStringLiteral("offscreen"));
    if (!qEnvironmentVariableIsEmpty("DISPLAY")) printStartupComparison(QStringLiteral("xcb"));
}

int runOurs(int argc, char** argv) {
    brisko::BKInitializeWebEngine(argc, argv);
    QGuiApplication app(argc, argv);
    const QList<double> times = timeShowsThroughBus(kWarmShows);
    for (double ms : times)
        std::printf("%.3f\n", ms);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1 && QByteArray(argv[1]) == "--ours") return runOurs(argc, argv);
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    // --shows or --startup runs one half only.
    if (!arguments.contains("--startup")) printShowComparison();
    if (!arguments.contains("--shows")) printStartupComparisons();
    return 0;
}
