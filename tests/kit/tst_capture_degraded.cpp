// Capture where the display is missing, lacks shared memory, is too small or goes away.
#include <QtTest>

#include <QDir>
#include <QProcess>

namespace {

struct Server {
    std::unique_ptr<QProcess> process;
    QString display;
};

// A private X server, so the test may take it away.
Server startServer(const QString& size, bool shm) {
    for (int n = 150; n < 200; ++n) {
        if (QFile::exists(QStringLiteral("/tmp/.X%1-lock").arg(n))) continue;
        Server server{std::make_unique<QProcess>(), QStringLiteral(":%1").arg(n)};
        server.process->start(QStringLiteral("Xvfb"), {server.display, "-screen", "0", size, "-nolisten", "tcp",
                                                        "-ac", shm ? "+extension" : "-extension", "MIT-SHM"});
        if (!server.process->waitForStarted()) return {};
        const QString socket = QStringLiteral("/tmp/.X11-unix/X%1").arg(n);
        for (int i = 0; i < 100 && !QFile::exists(socket); ++i) QTest::qWait(50);
        if (QFile::exists(socket)) return server;
        server.process->kill();
        server.process->waitForFinished();
    }
    return {};
}

} // namespace

class CaptureDegradedTest : public QObject {
    Q_OBJECT
private slots:
    void degraded_data() {
        QTest::addColumn<QString>("screen"); // empty: no display at all
        QTest::addColumn<bool>("shm");
        QTest::addColumn<bool>("loseServer");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::newRow("no display") << QString() << true << false << "null" << "null";
        QTest::newRow("no MIT-SHM") << "320x240x24" << false << false << "null" << "null";
        QTest::newRow("screen smaller than the frame") << "32x32x24" << true << false << "null" << "null";
        QTest::newRow("server goes away") << "320x240x24" << true << true << "ok" << "null";
        QTest::newRow("server stays") << "320x240x24" << true << false << "ok" << "ok";
    }

    void degraded() {
        QFETCH(QString, screen);
        QFETCH(bool, shm);
        QFETCH(bool, loseServer);
        Server server;
        if (!screen.isEmpty()) {
            server = startServer(screen, shm);
            QVERIFY2(server.process, "Xvfb did not start");
        }
        QProcess probe;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DISPLAY"), server.display);
        probe.setProcessEnvironment(env);
        probe.start(QDir(qEnvironmentVariable("BRISKO_TEST_BIN_DIR")).filePath("kit_capture_probe"));
        QVERIFY(probe.waitForStarted());
        QTRY_VERIFY(probe.canReadLine());
        QTEST(QString::fromLatin1(probe.readLine()).trimmed(), "first");
        if (loseServer) {
            server.process->kill();
            server.process->waitForFinished();
        }
        probe.write("next\n");
        QVERIFY(probe.waitForFinished());
        QCOMPARE(probe.exitStatus(), QProcess::NormalExit);
        QCOMPARE(probe.exitCode(), 0);
        QTEST(QString::fromLatin1(probe.readLine()).trimmed(), "second");
        QTEST(QString::fromLatin1(probe.readLine()).trimmed(), "second"); // the image call
        if (server.process && !loseServer) {
            server.process->terminate();
            server.process->waitForFinished();
        }
    }
};

QTEST_GUILESS_MAIN(CaptureDegradedTest)
#include "tst_capture_degraded.moc"
