// The daemon's ball: its words reach the supervisor, the script's real state reaches the ball,
// and on a real display the ball's window shows and goes. A stand-in helper records what the
// daemon tells it; the last case runs the real one on the test's X display.

#include "daemon/Floatball.h"
#include "daemon/ball/DaemonBall.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace brisko::daemon;

namespace {

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString& path, const QByteArray& data, bool executable = false) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(data);
    if (executable) file.setPermissions(file.permissions() | QFile::ExeOwner);
}

// Says its words at once, then writes down every line the daemon sends until told to hide.
QByteArray standInHelper(const QString& words, const QString& heard) {
    return "#!/bin/sh\nprintf '%s\\n' " + words.toUtf8() + "\nwhile read line; do echo \"$line\" >> '" +
           heard.toUtf8() + "'; [ \"$line\" = hide ] && exit 0; done\n";
}

// Whether the ball's top-level window is viewable on the X display.
bool ballWindowViewable() {
    QProcess tree;
    tree.start("xwininfo", {"-root", "-children"});
    tree.waitForFinished();
    const QRegularExpression line(QStringLiteral("(0x[0-9a-f]+) \"[^\"]*\": \\(\"floatball-ball\""));
    for (const auto& match : line.globalMatch(QString::fromUtf8(tree.readAllStandardOutput()))) {
        QProcess info;
        info.start("xwininfo", {"-id", match.captured(1)});
        info.waitForFinished();
        if (info.readAllStandardOutput().contains("IsViewable")) return true;
    }
    return false;
}

} // namespace

class DaemonBallTest : public QObject {
    Q_OBJECT

  private slots:
    void wordsAndStates_data() {
        QTest::addColumn<QString>("words"); // what the ball says at once
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<bool>("display");
        QTest::addColumn<QByteArray>("heard"); // every line the ball is told, in order
        QTest::addColumn<bool>("shown");       // the ball still up at the end
        QTest::newRow("script that ends by itself") << "start" << QByteArray("echo hi\n") << true
                                                    << QByteArray("stopped\nrunning\nstopped\n") << true;
        QTest::newRow("pause and resume") << "start pause resume" << QByteArray("sleep 30\n") << true
                                          << QByteArray("stopped\nrunning\npaused\nrunning\n") << true;
        QTest::newRow("close hides") << "close" << QByteArray("sleep 30\n") << true
                                     << QByteArray("stopped\nhide\n") << false;
        QTest::newRow("chatter and refusals change nothing")
            << "'qt.qpa.xcb: warning' stop resume startle" << QByteArray("sleep 30\n") << true
            << QByteArray("stopped\n") << true;
        QTest::newRow("no display, no ball")
            << "start" << QByteArray("sleep 30\n") << false << QByteArray() << false;
    }
    void wordsAndStates() {
        QFETCH(QString, words);
        QFETCH(QByteArray, script);
        QFETCH(bool, display);
        QFETCH(QByteArray, heard);
        QFETCH(bool, shown);
        QTemporaryDir documents;
        QDir().mkpath(documents.filePath("app"));
        writeFile(documents.filePath("app/main.sh"), script);
        const QString helper = documents.filePath("helper"), record = documents.filePath("heard");
        writeFile(helper, standInHelper(words, record), true);
        const QByteArray savedDisplay = qgetenv("DISPLAY");
        if (display)
            qputenv("DISPLAY", savedDisplay.isEmpty() ? ":99" : savedDisplay);
        else
            qunsetenv("DISPLAY");
        Floatball daemon(documents.path());
        DaemonBall ball(daemon, documents.path(), helper);
        qputenv("DISPLAY", savedDisplay);
        QTRY_COMPARE(readFile(record), heard);
        QTRY_COMPARE(ball.isShown(), shown);
        QTest::qWait(100); // nothing more arrives
        QCOMPARE(readFile(record), heard);
    }

    void realBallShowsAndHides() {
        if (qgetenv("QT_QPA_PLATFORM") != "xcb" || qEnvironmentVariableIsEmpty("DISPLAY"))
            QSKIP("needs the X display of the test environment");
        QTemporaryDir documents;
        Floatball daemon(documents.path());
        DaemonBall ball(daemon, documents.path(),
                        qEnvironmentVariable("BRISKO_BUNDLE_DIR") + "/floatball-ball");
        QVERIFY(ball.isShown());
        QTRY_VERIFY_WITH_TIMEOUT(ballWindowViewable(), 10000);
        daemon.ballAction(BallAction::Close);
        QTRY_VERIFY(!ball.isShown());
        QTRY_VERIFY(!ballWindowViewable());
    }
};

QTEST_GUILESS_MAIN(DaemonBallTest)
#include "tst_daemon_ball.moc"
