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
    server.process->start(QStringLiteral("Xvfb"), {"-displayfd", "1", "-screen", "0", size, "-nolisten", "tcp", "-ac",
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
