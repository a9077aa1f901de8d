#include "bench/bundle_digest/first_frame.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

namespace brisko::bench {
namespace {
constexpr int kLaunchTimeoutMs = 60000;

// Qt Quick logs each frame of its render loop under this category: "Frame rendered" from the
// basic and software loops, "frame rendered" from the threaded one.
QProcessEnvironment launchEnvironment(const QString& dataHome, const QString& platform) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", platform);
    env.insert("QT_LOGGING_RULES", "qt.scenegraph.time.renderloop=true");
    env.insert("XDG_DATA_HOME", dataHome); // keeps the deployment away from the real Documents
    return env;
}

bool installInto(const QString& application, const QString& bundleRoot) {
    const QString target = QDir(bundleRoot).filePath("brisko");
    QFile::remove(target);
    if (!QFile::copy(application, target)) return false;
    const QString plist = QFileInfo(application).dir().filePath("Info.plist");
    QFile::remove(QDir(bundleRoot).filePath("Info.plist"));
    QFile::copy(plist, QDir(bundleRoot).filePath("Info.plist"));
    return true;
}

double launchUntilFirstFrame(const QString& program, const QProcessEnvironment& env) {
    QProcess process;
    process.setProcessEnvironment(env);
    process.setProcessChannelMode(QProcess::MergedChannels);
    QElapsedTimer clock;
    clock.start();
    process.start(program, {});
    QByteArray output;
    double elapsed = -1;
    while (elapsed < 0 && clock.elapsed() < kLaunchTimeoutMs && process.waitForReadyRead(kLaunchTimeoutMs)) {
        output += process.readAll();
        if (output.contains("rame rendered")) elapsed = clock.nsecsElapsed() / 1e6;
    }
    process.kill();
    process.waitForFinished();
    return elapsed;
}
} // namespace

QList<double> timeToFirstFrame(const QString& application, const QString& bundleRoot, int runs,
                               const QString& platform) {
    QTemporaryDir dataHome;
    if (!installInto(application, bundleRoot)) return {};
    const QString program = QDir(bundleRoot).filePath("brisko");
    const QProcessEnvironment env = launchEnvironment(dataHome.path(), platform);
    if (launchUntilFirstFrame(program, env) < 0) return {}; // deploys
    QList<double> times;
    for (int i = 0; i < runs; ++i)
        times.append(launchUntilFirstFrame(program, env));
    return times;
}

} // namespace brisko::bench
