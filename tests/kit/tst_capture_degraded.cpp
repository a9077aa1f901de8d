// Capture where the display is missing, lacks shared memory, is smaller than the frame
// asked for, or goes away.
#include <QtTest>

#include <memory>

#include "capture_xvfb.h"

class CaptureDegradedTest : public QObject {
    Q_OBJECT
  private slots:
    void degraded_data() {
        QTest::addColumn<QString>("screen"); // none: no display at all
        QTest::addColumn<bool>("shm");
        QTest::addColumn<bool>("loseServer");
        QTest::addColumn<QStringList>("expected"); // first frame, second frame, image
        QTest::newRow("no display") << QString() << true << false << QStringList{"null", "null", "null"};
        QTest::newRow("no MIT-SHM") << "320x240x24" << false << false << QStringList{"null", "null", "null"};
        QTest::newRow("screen smaller than the frame")
            << "32x32x24" << true << false << QStringList{"32x32", "32x32", "ok"};
        QTest::newRow("server goes away")
            << "320x240x24" << true << true << QStringList{"64x48", "null", "null"};
    }
    void degraded() {
        QFETCH(QString, screen);
        QFETCH(bool, shm);
        QFETCH(bool, loseServer);
        QFETCH(QStringList, expected);
        std::unique_ptr<PrivateXvfb> server;
        if (!screen.isEmpty()) server = std::make_unique<PrivateXvfb>(screen, shm);
        QVERIFY2(!server || !server->display().isEmpty(), "Xvfb did not start");
        qputenv("DISPLAY", server ? server->display().toLocal8Bit() : QByteArray());
        QProcess probe;
        probe.start(QDir(qEnvironmentVariable("BRISKO_TEST_BIN_DIR")).filePath("kit_capture_probe"));
        QVERIFY(probe.waitForStarted());
        QTRY_VERIFY(probe.canReadLine());
        QStringList got{QString::fromLatin1(probe.readLine()).trimmed()};
        if (loseServer) server->kill();
        probe.write("next\n");
        QVERIFY(probe.waitForFinished());
        QVERIFY(probe.exitStatus() == QProcess::NormalExit && probe.exitCode() == 0);
        while (probe.canReadLine())
            got << QString::fromLatin1(probe.readLine()).trimmed();
        QCOMPARE(got, expected);
    }
};

QTEST_GUILESS_MAIN(CaptureDegradedTest)
#include "tst_capture_degraded.moc"
