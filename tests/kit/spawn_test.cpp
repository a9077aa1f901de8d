// Root spawn, checked through what the started program itself sees.

#include "kit/BKKit.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace brisko;

namespace {

constexpr int kNobody = 65534;

QString testBinary(const QString& name) {
    return qEnvironmentVariable("BRISKO_TEST_BIN_DIR") + "/" + name;
}

QString recorder() {
    return testBinary("spawn_recorder");
}

QString recordPath(int pid) {
    return QStringLiteral("/tmp/brisko-spawn-record.%1").arg(pid);
}

QJsonObject takeRecord(int pid) {
    QFile file(recordPath(pid));
    if (!QTest::qWaitFor([&] { return file.exists(); }, 5000) || !file.open(QIODevice::ReadOnly)) return {};
    const QJsonObject record = QJsonDocument::fromJson(file.readAll()).object();
    file.remove();
    return record;
}

QJsonArray expectedArgv(const QStringList& arguments) {
    return QJsonArray::fromStringList(QStringList{recorder()} + arguments);
}

struct ProbeResult {
    int pid = 0;
    int probeSession = 0;
    QByteArray standardError;
};

// Spawns from a process of its own, optionally as the unprivileged user nobody.
ProbeResult spawnFromProbe(const QString& path, const QStringList& arguments, bool asNobody) {
    QStringList command{testBinary("spawn_probe"), path};
    command += arguments;
    if (asNobody) command = QStringList{"--reuid=nobody", "--regid=nogroup", "--clear-groups"} + command;
    QProcess probe;
    probe.start(asNobody ? "setpriv" : command.takeFirst(), command);
    probe.waitForFinished(10000);
    const QList<QByteArray> fields = probe.readAllStandardOutput().trimmed().split(' ');
    return {fields.value(0).toInt(), fields.value(1).toInt(), probe.readAllStandardError()};
}

} // namespace

class SpawnTest : public QObject {
    Q_OBJECT

private slots:
    void startsAsRootInNewSessionWithExactArgv_data() {
        QTest::addColumn<bool>("pathOnly");
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("path only") << true << QStringList();
        QTest::newRow("empty list") << false << QStringList();
        QTest::newRow("order kept") << false << QStringList{"b", "a", "c"};
        QTest::newRow("empty strings kept") << false << QStringList{"", "x", ""};
        QTest::newRow("utf-8 and spaces") << false << QStringList{"/文档 目录", "--autorun"};
    }
    void startsAsRootInNewSessionWithExactArgv() {
        QFETCH(bool, pathOnly);
        QFETCH(QStringList, arguments);
        const int pid = pathOnly ? BKKit::spawnAsRoot(recorder()) : BKKit::spawnAsRoot(recorder(), arguments);
        QVERIFY(pid > 0);
        const QJsonObject record = takeRecord(pid);
        QCOMPARE(record.value("argv").toArray(), expectedArgv(arguments));
        QCOMPARE(record.value("env").toArray(), QJsonArray());
        QCOMPARE(record.value("uid").toInt(-1), 0);
        QCOMPARE(record.value("gid").toInt(-1), 0);
        QCOMPARE(record.value("groups").toArray(), QJsonArray());
        QCOMPARE(record.value("sid").toInt(), pid);
    }

    // The identity change is refused to nobody: one more start, as the caller and in its session.
    void refusedIdentityRetriesOnceAsCaller() {
        const QStringList arguments{"a", "", "b"};
        const ProbeResult result = spawnFromProbe(recorder(), arguments, true);
        QVERIFY2(result.pid > 0, result.standardError.constData());
        QCOMPARE(result.standardError, QByteArray());
        const QJsonObject record = takeRecord(result.pid);
        QCOMPARE(record.value("uid").toInt(), kNobody);
        QCOMPARE(record.value("gid").toInt(), kNobody);
        QCOMPARE(record.value("sid").toInt(), result.probeSession);
        QCOMPARE(record.value("argv").toArray(), expectedArgv(arguments));
        QCOMPARE(record.value("env").toArray(), QJsonArray());
    }

    void failsSilentlyForWhatCannotRun_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("asNobody");
        static QTemporaryDir dir;
        QFile plain(dir.filePath("plain"));
        plain.open(QIODevice::WriteOnly);
        plain.write("#!/bin/sh\n");
        plain.close();
        for (bool asNobody : {false, true}) {
            const char* who = asNobody ? " as nobody" : "";
            QTest::addRow("not executable%s", who) << plain.fileName() << asNobody;
            QTest::addRow("directory%s", who) << dir.path() << asNobody;
            QTest::addRow("missing%s", who) << dir.filePath("missing") << asNobody;
            QTest::addRow("empty path%s", who) << QString() << asNobody;
        }
    }
    void failsSilentlyForWhatCannotRun() {
        QFETCH(QString, path);
        QFETCH(bool, asNobody);
        const ProbeResult result = spawnFromProbe(path, {}, asNobody);
        QCOMPARE(result.pid, -1);
        QCOMPARE(result.standardError, QByteArray());
    }

    void exitedChildDoesNotLinger() {
        const int pid = BKKit::spawnAsRoot(recorder());
        QVERIFY(pid > 0);
        QVERIFY(!takeRecord(pid).isEmpty());
        // A zombie keeps its /proc entry until someone waits for it.
        QTRY_VERIFY_WITH_TIMEOUT(!QFileInfo::exists(QStringLiteral("/proc/%1").arg(pid)), 5000);
    }
};

QTEST_GUILESS_MAIN(SpawnTest)
#include "spawn_test.moc"
