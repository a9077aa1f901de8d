// Root spawn, checked through what the started program itself sees.

#include "kit/BKKit.h"

#include <QtTest>

using namespace brisko;

namespace {

QString testBinary(const QString& name) {
    return qEnvironmentVariable("BRISKO_TEST_BIN_DIR") + "/" + name;
}

QJsonObject takeRecord(int pid) {
    QFile file(QStringLiteral("/tmp/brisko-spawn-record.%1").arg(pid));
    if (!QTest::qWaitFor([&] { return file.exists(); }, 5000) || !file.open(QIODevice::ReadOnly)) return {};
    const QJsonObject record = QJsonDocument::fromJson(file.readAll()).object();
    file.remove();
    return record;
}

struct ProbeResult {
    int pid = 0;
    int probeSession = 0;
    QByteArray standardError;
};

// Spawns from a process of its own, optionally as the unprivileged user nobody, whose identity
// change the kernel refuses.
ProbeResult spawnFromProbe(const QString& path, const QStringList& arguments, bool asNobody,
                           bool debugLog = false) {
    QStringList command = QStringList{testBinary("spawn_probe"), path} + arguments;
    if (asNobody) command = QStringList{"--reuid=nobody", "--regid=nogroup", "--clear-groups"} + command;
    QProcess probe;
    if (debugLog) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_LOGGING_RULES", "brisko.spawn.debug=true");
        probe.setProcessEnvironment(environment);
    }
    probe.start(asNobody ? "setpriv" : command.takeFirst(), command);
    probe.waitForFinished(10000);
    const QList<QByteArray> fields = probe.readAllStandardOutput().trimmed().split(' ');
    return {fields.value(0).toInt(), fields.value(1).toInt(), probe.readAllStandardError()};
}

} // namespace

class SpawnTest : public QObject {
    Q_OBJECT

  private slots:
    void startsWithExactArgvAndNoEnvironment_data() {
        QTest::addColumn<bool>("pathOnly");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("asNobody");
        QTest::newRow("path only") << true << QStringList() << false;
        QTest::newRow("empty list") << false << QStringList() << false;
        QTest::newRow("order and empty strings kept") << false << QStringList{"b", "", "a", ""} << false;
        QTest::newRow("utf-8 and spaces") << false << QStringList{"/文档 目录", "--autorun"} << false;
        QTest::newRow("identity refused: one retry as the caller") << false << QStringList{"a", ""} << true;
    }
    void startsWithExactArgvAndNoEnvironment() {
        QFETCH(bool, pathOnly);
        QFETCH(QStringList, arguments);
        QFETCH(bool, asNobody);
        const QString recorder = testBinary("spawn_recorder");
        ProbeResult spawned;
        if (asNobody)
            spawned = spawnFromProbe(recorder, arguments, true);
        else
            spawned.pid = spawned.probeSession =
                pathOnly ? BKKit::spawnAsRoot(recorder) : BKKit::spawnAsRoot(recorder, arguments);
        QVERIFY2(spawned.pid > 0, spawned.standardError.constData());
        QCOMPARE(spawned.standardError, QByteArray());
        const QJsonObject record = takeRecord(spawned.pid);
        QCOMPARE(record.value("argv").toArray(),
                 QJsonArray::fromStringList(QStringList{recorder} + arguments));
        QCOMPARE(record.value("env").toArray(), QJsonArray());
        const int id = asNobody ? 65534 : 0;
        QCOMPARE(record.value("uid").toInt(-1), id);
        QCOMPARE(record.value("gid").toInt(-1), id);
        QCOMPARE(record.value("groups").toArray(), QJsonArray());
        // Root: a session of its own; the retry stays in the caller's.
        QCOMPARE(record.value("sid").toInt(), spawned.probeSession);
        // Never waited for, yet no zombie of ours: a zombie keeps its /proc entry until reaped.
        if (!asNobody)
            QTRY_VERIFY_WITH_TIMEOUT(!QFileInfo::exists(QStringLiteral("/proc/%1").arg(spawned.pid)), 5000);
    }

    // Silent for the user; the debug log names the failed step and its errno.
    void failsSilentlyForWhatCannotRun_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("asNobody");
        QTest::addColumn<QByteArray>("debugLine");
        QTest::newRow("not executable")
            << "/etc/passwd" << false << QByteArray("execve failed: Permission denied");
        QTest::newRow("not executable, as nobody")
            << "/etc/passwd" << true << QByteArray("setgroups failed: Operation not permitted");
        QTest::newRow("missing") << "/nonexistent/brisko" << false
                                 << QByteArray("execve failed: No such file or directory");
    }
    void failsSilentlyForWhatCannotRun() {
        QFETCH(QString, path);
        QFETCH(bool, asNobody);
        const ProbeResult result = spawnFromProbe(path, {}, asNobody);
        QCOMPARE(result.pid, -1);
        QCOMPARE(result.standardError, QByteArray());
        const ProbeResult logged = spawnFromProbe(path, {}, asNobody, true);
        QCOMPARE(logged.pid, -1);
        QVERIFY2(logged.standardError.contains(QByteArray("brisko.spawn: ") + path.toUtf8() + ": "),
                 logged.standardError.constData());
        QFETCH(QByteArray, debugLine);
        QVERIFY2(logged.standardError.contains(debugLine), logged.standardError.constData());
    }
};

QTEST_GUILESS_MAIN(SpawnTest)
#include "spawn_test.moc"
