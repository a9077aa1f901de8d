// Capture where the display is missing, lacks shared memory, is too small or goes away.
#include <QtTest>

#include <QDir>
#include <QProcess>

#include <memory>

namespace {

struct Server {
    std::unique_ptr<QProcess> process;
    QString display;
};

// A private X server, so the test may take it away; it picks a free display number itself.
Server startServer(const QString& size, bool shm) {
    Server server{std::make_unique<QProcess>(), QString()};
    server.process->start(QStringLiteral("Xvfb"),
                          {"-displayfd", "1", "-screen", "0", size, "-nolisten", "tcp", "-ac",
                           shm ? "+extension" : "-extension", "MIT-SHM"});
    if (server.process->waitForStarted() && server.process->waitForReadyRead(10000)) {
        const QByteArray number = server.process->readLine().trimmed();
        if (!number.isEmpty()) server.display = QStringLiteral(":") + QString::fromLatin1(number);
    }
    if (server.display.isEmpty()) return {};
    return server;
}

} // namespace

class CaptureDegradedTest : public QObject {
    Q_OBJECT
  private slots:
    void degraded() {
        struct Row {
            const char* name;
            QString screen;
            bool shm, loseServer;
            QString first, second;
        };
        const Row rows[] = {
            {"no display", QString(), true, false, "null", "null"},
            {"no MIT-SHM", "320x240x24", false, false, "null", "null"},
            {"screen smaller than the frame", "32x32x24", true, false, "null", "null"},
            {"server goes away", "320x240x24", true, true, "ok", "null"},
            {"server stays", "320x240x24", true, false, "ok", "ok"},
        };
        for (const Row& row : rows) {
            Server server;
            if (!row.screen.isEmpty()) server = startServer(row.screen, row.shm);
            QVERIFY2(row.screen.isEmpty() || server.process, "Xvfb did not start");
            QProcess probe;
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert(QStringLiteral("DISPLAY"), server.display);
            probe.setProcessEnvironment(env);
            probe.start(QDir(qEnvironmentVariable("BRISKO_TEST_BIN_DIR")).filePath("kit_capture_probe"));
            QVERIFY(probe.waitForStarted());
            QTRY_VERIFY(probe.canReadLine());
            QCOMPARE(QString::fromLatin1(probe.readLine()).trimmed(), row.first);
            if (row.loseServer) {
                server.process->kill();
                server.process->waitForFinished();
            }
            probe.write("next\n");
            QVERIFY(probe.waitForFinished());
            QVERIFY2(probe.exitStatus() == QProcess::NormalExit && probe.exitCode() == 0, row.name);
            QCOMPARE(QString::fromLatin1(probe.readLine()).trimmed(), row.second); // raw
            QCOMPARE(QString::fromLatin1(probe.readLine()).trimmed(), row.second); // image
            if (server.process && !row.loseServer) {
                server.process->terminate();
                server.process->waitForFinished();
            }
        }
    }
};

QTEST_GUILESS_MAIN(CaptureDegradedTest)
#include "tst_capture_degraded.moc"
