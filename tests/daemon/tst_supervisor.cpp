// The supervisor with real scripts: states follow the process, signals reach the whole group,
// and the log keeps every line. The 3 s kill runs on the manual clock.

#include "daemon/ScriptSupervisor.h"
#include "tests/daemon/script_log_reading.h"
#include "tests/support/manual_scheduler.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <unistd.h>

using namespace brisko::daemon;

namespace {

struct Documents {
    QTemporaryDir dir;
    Documents(const QString& file, const QByteArray& script) {
        QDir().mkpath(dir.filePath("app"));
        QFile out(dir.filePath("app/" + file));
        out.open(QIODevice::WriteOnly);
        out.write(script);
    }
    QString log(const QString& suffix = {}) const { return dir.filePath("script.log" + suffix); }
};

using brisko::testing::isRunning;
const auto lines = brisko::testing::logLines;
const auto countNumbers = brisko::testing::numberLines;

const QByteArray kCounter = "i=0; while :; do echo $i; i=$((i+1)); sleep 0.02; done\n";

} // namespace

class SupervisorTest : public QObject {
    Q_OBJECT

  private slots:
    void refusals_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QStringList>("commands"); // the last one's answer is checked
        QTest::addColumn<QString>("error");
        QTest::newRow("no entry point") << "notes.txt" << QStringList{"start"} << "未找到脚本入口 app/main";
        QTest::newRow("no interpreter")
            << "main.lua" << QStringList{"start"} << "未找到解释器 lua5.4，无法运行 app/main.lua";
        QTest::newRow("stop when stopped") << "main.sh" << QStringList{"stop"} << "脚本未在运行";
        QTest::newRow("pause when stopped") << "main.sh" << QStringList{"pause"} << "脚本未在运行";
        QTest::newRow("start twice") << "main.sh" << QStringList{"start", "start"} << "脚本已在运行";
        QTest::newRow("resume when running") << "main.sh" << QStringList{"start", "resume"} << "脚本未暂停";
        QTest::newRow("pause twice") << "main.sh" << QStringList{"start", "pause", "pause"} << "脚本已暂停";
    }
    void refusals() {
        QFETCH(QString, file);
        QFETCH(QStringList, commands);
        QFETCH(QString, error);
        Documents docs(file, "sleep 30\n");
        QTemporaryDir emptyBin;
        const QByteArray path = qgetenv("PATH");
        if (file == "main.lua") qputenv("PATH", emptyBin.path().toLocal8Bit());
        ScriptSupervisor supervisor(docs.dir.path());
        QString answer;
        for (const QString& cmd : commands) {
            answer = cmd == "start"   ? supervisor.start()
                     : cmd == "stop"  ? supervisor.stop()
                     : cmd == "pause" ? supervisor.pause()
                                      : supervisor.resume();
        }
        qputenv("PATH", path);
        QCOMPARE(answer, error);
    }

    void scriptThatExitsAtOnce() {
        Documents docs("main.sh", "echo bye; exit 3\n");
        ScriptSupervisor supervisor(docs.dir.path());
        QSignalSpy changes(&supervisor, &ScriptSupervisor::stateChanged);
        QCOMPARE(supervisor.start(), QString());
        QTRY_COMPARE(supervisor.state(), ScriptState::Stopped);
        QCOMPARE(changes.size(), 2);
        const QList<QByteArray> log = lines(docs.log());
        QCOMPARE(log.size(), 3);
        QVERIFY(log[0].contains("脚本开始") && log[0].contains("sh main.sh"));
        QCOMPARE(log[1], QByteArray("bye"));
        QVERIFY(log[2].contains("脚本结束") && log[2].contains("退出码 3"));
        QCOMPARE(supervisor.start(), QString()); // and it can run again
    }

    void pauseHoldsOutputAndStopEndsIt() {
        brisko::testing::ManualScheduler clock;
        Documents docs("main.sh", kCounter);
        ScriptSupervisor supervisor(docs.dir.path());
        QCOMPARE(supervisor.start(), QString());
        QTRY_VERIFY(countNumbers(docs.log()) >= 3);
        QCOMPARE(supervisor.pause(), QString());
        QCOMPARE(supervisor.state(), ScriptState::Paused);
        QTest::qWait(100); // what was in the pipe lands
        const int paused = countNumbers(docs.log());
        QTest::qWait(300);
        QCOMPARE(countNumbers(docs.log()), paused);
        QCOMPARE(supervisor.resume(), QString());
        QTRY_VERIFY(countNumbers(docs.log()) > paused + 2);
        QCOMPARE(supervisor.pause(), QString());
        QCOMPARE(supervisor.stop(), QString()); // a paused script still hears the stop
        QTRY_COMPARE(supervisor.state(), ScriptState::Stopped);
        QVERIFY(lines(docs.log()).last().contains("信号 15"));
    }

    void stubbornScriptAndItsChildrenAreKilled() {
        brisko::testing::ManualScheduler clock;
        Documents docs("main.sh", "trap '' TERM\n(while :; do sleep 1; done) &\necho child $!\n"
                                  "while :; do sleep 1; done\n");
        ScriptSupervisor supervisor(docs.dir.path());
        QCOMPARE(supervisor.start(), QString());
        QTRY_VERIFY(lines(docs.log()).size() >= 2);
        const pid_t child = lines(docs.log())[1].mid(6).toInt();
        QVERIFY(child > 0 && isRunning(child));
        QCOMPARE(supervisor.stop(), QString());
        QTest::qWait(200);
        QCOMPARE(supervisor.state(), ScriptState::Running); // it ignored SIGTERM
        QCOMPARE(clock.pendingCount(), 1);
        clock.advance(kStopGraceSeconds);
        QTRY_COMPARE(supervisor.state(), ScriptState::Stopped);
        QTRY_VERIFY(!isRunning(child));
        QVERIFY(lines(docs.log()).last().contains("信号 9"));
    }

    // Written as fast as sh can and rotated on the way. How many rotations depends on how the
    // pipe reads fall, so only the newest two files are sure to be kept: what they hold must be
    // an unbroken run of lines ending at the last one.
    void fastWriterLosesNothingAcrossRotation() {
        Documents docs("main.sh", "seq 1 20000\n");
        ScriptSupervisor supervisor(docs.dir.path());
        supervisor.setLogRotationBytes(400 * 1024);
        QCOMPARE(supervisor.start(), QString());
        QTRY_COMPARE(supervisor.state(), ScriptState::Stopped);
        QList<QByteArray> kept = lines(docs.log(".1")) + lines(docs.log());
        kept.removeIf([](const QByteArray& line) { return line.startsWith("===="); });
        QVERIFY(!lines(docs.log(".1")).isEmpty());
        QCOMPARE(kept.last(), QByteArray("20000"));
        const int first = kept.first().toInt();
        for (int i = 0; i < kept.size(); ++i)
            QCOMPARE(kept[i].toInt(), first + i);
    }

    void clearedLogGetsTheNewLines() {
        Documents docs("main.sh", kCounter);
        ScriptSupervisor supervisor(docs.dir.path());
        QCOMPARE(supervisor.start(), QString());
        QTRY_VERIFY(countNumbers(docs.log()) >= 2);
        QFile empty(docs.dir.filePath("empty"));
        QVERIFY(empty.open(QIODevice::WriteOnly));
        empty.close();
        QCOMPARE(std::rename(qPrintable(empty.fileName()), qPrintable(docs.log())), 0);
        QTRY_VERIFY(countNumbers(docs.log()) >= 2);
        QVERIFY(!lines(docs.log()).first().contains("脚本开始"));
        QCOMPARE(supervisor.stop(), QString());
        QTRY_COMPARE(supervisor.state(), ScriptState::Stopped);
        QVERIFY(lines(docs.log()).last().contains("脚本结束"));
    }

    // As root the script takes the identity of whoever owns Documents.
    void runsAsTheOwnerOfDocuments() {
        if (geteuid() != 0) QSKIP("needs root to change identity");
        Documents docs("main.sh", "id -u; echo \"$BRISKO_DOCUMENTS\"; pwd\n");
        const QByteArray root = QFile::encodeName(docs.dir.path());
        for (const char* path : {"", "/app", "/app/main.sh"})
            QCOMPARE(chown((root + path).constData(), 65534, 65534), 0);
        ScriptSupervisor supervisor(docs.dir.path());
        QCOMPARE(supervisor.start(), QString());
        QTRY_COMPARE(supervisor.state(), ScriptState::Stopped);
        const QList<QByteArray> log = lines(docs.log());
        QCOMPARE(log.mid(1, 3), (QList<QByteArray>{"65534", root, root + "/app"}));
        QCOMPARE(QFileInfo(docs.log()).ownerId(), 65534u);
    }
};

QTEST_GUILESS_MAIN(SupervisorTest)
#include "tst_supervisor.moc"
