#pragma once
// Other processes on the bus, for the notification tests.

#include <QProcess>
#include <QString>

#include <memory>

namespace brisko::test {

inline QString testBinary(const QString& name) {
    return qEnvironmentVariable("BRISKO_TEST_BIN_DIR") + "/" + name;
}

// A notify_probe observing name; returns once its match rule is on the bus.
inline std::unique_ptr<QProcess> startObserver(const QString& name, int count = 1) {
    auto probe = std::make_unique<QProcess>();
    probe->start(testBinary("notify_probe"), {"observe", name, QString::number(count), "5000"});
    if (!probe->waitForReadyRead(5000) || probe->readLine() != "ready\n") return nullptr;
    return probe;
}

// Waits for the probe to finish and returns what it printed after "ready".
inline QByteArray observerOutput(QProcess& probe) {
    probe.waitForFinished(8000);
    return probe.readAll();
}

inline int runQuietly(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(8000);
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

// The command a busctl / dbus-send user types to post name.
inline int postFromCommandLine(const QString& name) {
    return runQuietly("dbus-send", {"--system", "--type=signal", "/com/brisko/Notify",
                                    "com.brisko.Notify.Post", "string:" + name});
}

} // namespace brisko::test
