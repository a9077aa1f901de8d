// `brisko --background`, as the login autostart runs it: no window, the daemon with --autorun
// only when the boot_autostart marker exists, and the application ends by itself.

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

namespace {

void writeFile(const QString& path, const QByteArray& data) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(data);
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool taskEndpointListens() {
    QTcpSocket probe;
    probe.connectToHost(QHostAddress::LocalHost, 8989);
    return probe.waitForConnected(1000);
}

} // namespace

class BackgroundLaunchTest : public QObject {
    Q_OBJECT

  private slots:
    void launch_data() {
        QTest::addColumn<bool>("marker");
        QTest::newRow("marker absent: nothing starts") << false;
        QTest::newRow("marker present: the script runs") << true;
    }
    void launch() {
        QFETCH(bool, marker);
        QVERIFY(!taskEndpointListens());
        QTemporaryDir data;
        const QString documents = data.filePath("brisko/Documents");
        // The daemon is the script's parent: the script says who it is, so the test can end it.
        writeFile(documents + "/app/main.sh", "echo \"daemon $PPID\"\nsleep 60\n");
        if (marker) writeFile(documents + "/boot_autostart", "1");

        QProcess brisko;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_DATA_HOME", data.path());
        env.remove("DISPLAY"); // no window may be needed
        env.insert("QT_QPA_PLATFORM", "xcb");
        brisko.setProcessEnvironment(env);
        brisko.start(qEnvironmentVariable("BRISKO_BUNDLE_DIR") + "/brisko", {"--background"});
        QVERIFY(brisko.waitForFinished(20000));
        QCOMPARE(brisko.exitStatus(), QProcess::NormalExit);
        QCOMPARE(brisko.exitCode(), 0);

        if (!marker) {
            QVERIFY(!taskEndpointListens());
            QVERIFY(!QFile::exists(documents + "/script.log"));
            return;
        }
        QTRY_VERIFY_WITH_TIMEOUT(readFile(documents + "/script.log").contains("daemon "), 20000);
        const QByteArray log = readFile(documents + "/script.log");
        const qsizetype at = log.indexOf("daemon ") + 7;
        const pid_t daemon = log.mid(at, log.indexOf('\n', at) - at).toInt();
        QVERIFY(daemon > 1);
        QVERIFY(taskEndpointListens());
        QCOMPARE(::kill(daemon, SIGTERM), 0); // it takes its script with it
        QTRY_VERIFY_WITH_TIMEOUT(!taskEndpointListens(), 20000);
        QTRY_VERIFY(readFile(documents + "/script.log").contains("脚本结束"));
    }
};

QTEST_GUILESS_MAIN(BackgroundLaunchTest)
#include "tst_background_launch.moc"
