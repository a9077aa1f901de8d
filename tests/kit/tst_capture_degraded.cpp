// Capture where the display is missing, lacks shared memory, is smaller than the frame
// asked for, or goes away.
#include "capture_xvfb.h"

#include <QtTest>

#include <QDir>
#include <QProcess>

#include <memory>

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
            {"screen smaller than the frame", "32x32x24", true, false, "32x32", "32x32"},
            {"server goes away", "320x240x24", true, true, "64x48", "null"},
            {"server stays", "320x240x24", true, false, "64x48", "64x48"},
        };
        for (const Row& row : rows) {
            std::unique_ptr<PrivateXvfb> server;
            if (!row.screen.isEmpty()) server = std::make_unique<PrivateXvfb>(row.screen, row.shm);
            QVERIFY2(!server || !server->display().isEmpty(), "Xvfb did not start");
            QProcess probe;
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert(QStringLiteral("DISPLAY"), server ? server->display() : QString());
            probe.setProcessEnvironment(env);
            probe.start(QDir(qEnvironmentVariable("BRISKO_TEST_BIN_DIR")).filePath("kit_capture_probe"));
            QVERIFY(probe.waitForStarted());
            QTRY_VERIFY(probe.canReadLine());
            const QString first = QString::fromLatin1(probe.readLine()).trimmed();
            QVERIFY2(first == row.first, qPrintable(QStringLiteral("%1: %2").arg(row.name, first)));
            if (row.loseServer) server->kill();
            probe.write("next\n");
            QVERIFY(probe.waitForFinished());
            QVERIFY2(probe.exitStatus() == QProcess::NormalExit && probe.exitCode() == 0, row.name);
            const QString raw = QString::fromLatin1(probe.readLine()).trimmed();
            const QString image = QString::fromLatin1(probe.readLine()).trimmed();
            QVERIFY2(raw == row.second && image == (row.second == "null" ? "null" : "ok"),
                     qPrintable(QStringLiteral("%1: %2, image %3").arg(row.name, raw, image)));
        }
    }
};

QTEST_GUILESS_MAIN(CaptureDegradedTest)
#include "tst_capture_degraded.moc"
