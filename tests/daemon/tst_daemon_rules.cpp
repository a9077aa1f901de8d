// The daemon's rules on outside input: which requests pass, which program runs the script, and
// what reaches script.log.

#include "daemon/entry_point.h"
#include "daemon/request_guard.h"
#include "daemon/script_log.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <unistd.h>

using namespace brisko::daemon;

namespace {

void writeFile(const QString& path, const QByteArray& data, QFile::Permissions extra = {}) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(data);
    file.close();
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | extra);
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The log's lines without their timestamps.
QList<QByteArray> logLines(const QString& path) {
    QList<QByteArray> lines;
    for (const QByteArray& line : readFile(path).split('\n'))
        if (!line.isEmpty()) lines << line.mid(line.indexOf("] ") + 2);
    return lines;
}

} // namespace

class DaemonRulesTest : public QObject {
    Q_OBJECT

  private slots:
    void requestGuard_data() {
        QTest::addColumn<QStringList>("headers"); // "Name: value"
        QTest::addColumn<bool>("allowed");
        QTest::newRow("the application's request") << QStringList{"Host: 127.0.0.1:8989"} << true;
        QTest::newRow("curl by name") << QStringList{"host: LOCALHOST:8989"} << true;
        QTest::newRow("ipv6 loopback") << QStringList{"Host: [::1]:8989"} << true;
        QTest::newRow("typed in the address bar")
            << QStringList{"Host: 127.0.0.1:8989", "Sec-Fetch-Site: none"} << true;
        QTest::newRow("same origin page")
            << QStringList{"Host: localhost:8989", "Origin: http://localhost:8989",
                           "Sec-Fetch-Site: same-origin"}
            << true;
        QTest::newRow("no host") << QStringList{} << false;
        QTest::newRow("rebound name") << QStringList{"Host: evil.example:8989"} << false;
        QTest::newRow("port missing") << QStringList{"Host: 127.0.0.1"} << false;
        QTest::newRow("other port") << QStringList{"Host: 127.0.0.1:80"} << false;
        QTest::newRow("two hosts") << QStringList{"Host: 127.0.0.1:8989", "Host: evil.example:8989"} << false;
        QTest::newRow("suffix trick") << QStringList{"Host: 127.0.0.1:8989.evil.example"} << false;
        QTest::newRow("foreign origin")
            << QStringList{"Host: 127.0.0.1:8989", "Origin: http://evil.example"} << false;
        QTest::newRow("null origin") << QStringList{"Host: 127.0.0.1:8989", "Origin: null"} << false;
        QTest::newRow("https origin")
            << QStringList{"Host: 127.0.0.1:8989", "Origin: https://127.0.0.1:8989"} << false;
        QTest::newRow("image from a web page")
            << QStringList{"Host: 127.0.0.1:8989", "Sec-Fetch-Site: cross-site"} << false;
        QTest::newRow("another local port's page")
            << QStringList{"Host: 127.0.0.1:8989", "Sec-Fetch-Site: same-site"} << false;
    }
    void requestGuard() {
        QFETCH(QStringList, headers);
        QFETCH(bool, allowed);
        HeaderList list;
        for (const QString& header : headers) {
            const qsizetype colon = header.indexOf(u':');
            list.append({header.left(colon).toLatin1(), header.mid(colon + 1).toLatin1()});
        }
        QCOMPARE(isLoopbackRequestAllowed(list, 8989), allowed);
    }

    // A request arrives in pieces: no honest beginning may be judged before it is whole.
    void requestHead_data() {
        QTest::addColumn<QByteArray>("received");
        QTest::addColumn<int>("verdict");
        const int incomplete = int(RequestHead::Incomplete), complete = int(RequestHead::Complete),
                  malformed = int(RequestHead::Malformed);
        QTest::newRow("nothing yet") << QByteArray() << incomplete;
        QTest::newRow("half a method") << QByteArray("GE") << incomplete;
        QTest::newRow("half a version") << QByteArray("GET / HTTP/1") << incomplete;
        QTest::newRow("line cut at its CR") << QByteArray("GET / HTTP/1.1\r") << incomplete;
        QTest::newRow("headers under way") << QByteArray("GET / HTTP/1.1\r\nHost: x\r\n") << incomplete;
        QTest::newRow("empty lines first") << QByteArray("\r\n\r\nGET / HTTP/1.0\r\n\r\n") << complete;
        QTest::newRow("whole") << QByteArray("GET /task?cmd=start HTTP/1.1\r\nHost: x\r\n\r\nbody\x01")
                               << complete;
        QTest::newRow("utf-8 in a header value")
            << QByteArray("GET / HTTP/1.1\r\nX: \xe4\xb8\xad\r\n\r\n") << complete;
        QTest::newRow("method too long") << QByteArray(17, 'A') << malformed;
        QTest::newRow("two spaces") << QByteArray("GET  /") << malformed;
        QTest::newRow("four parts") << QByteArray("GET / HTTP/1.1 x") << malformed;
        QTest::newRow("unknown version") << QByteArray("GET / HTTP/3.0\r\n") << malformed;
        QTest::newRow("bare LF line") << QByteArray("GET / HTTP/1.1\nHost: x\n\n") << malformed;
        QTest::newRow("binary in the target") << QByteArray("GET /\x80 HTTP/1.1\r\n") << malformed;
    }
    void requestHead() {
        QFETCH(QByteArray, received);
        QFETCH(int, verdict);
        QCOMPARE(int(screenRequestHead(received)), verdict);
    }

    void entryPoint_data() {
        QTest::addColumn<QStringList>("files"); // under app/; "+x" marks an executable
        QTest::addColumn<QStringList>("interpreters");
        QTest::addColumn<QString>("expected"); // description, or the error
        QTest::newRow("executable main wins")
            << QStringList{"main+x", "main.lua"} << QStringList{"lua5.4"} << "main";
        QTest::newRow("main without x bit")
            << QStringList{"main", "main.lua"} << QStringList{"lua5.4"} << "脚本入口 app/main 没有执行权限";
        QTest::newRow("lua before python")
            << QStringList{"main.py", "main.lua"} << QStringList{"lua5.4", "python3"} << "lua5.4 main.lua";
        QTest::newRow("shell") << QStringList{"main.sh"} << QStringList{"sh"} << "sh main.sh";
        QTest::newRow("node") << QStringList{"main.js"} << QStringList{"node"} << "node main.js";
        QTest::newRow("interpreter missing") << QStringList{"main.lua"} << QStringList{"python3"}
                                             << "未找到解释器 lua5.4，无法运行 app/main.lua";
        QTest::newRow("folder named main.lua")
            << QStringList{"main.lua/x"} << QStringList{"lua5.4"} << "未找到脚本入口 app/main";
        QTest::newRow("nothing") << QStringList{"readme.txt"} << QStringList{"lua5.4"}
                                 << "未找到脚本入口 app/main";
    }
    void entryPoint() {
        QFETCH(QStringList, files);
        QFETCH(QStringList, interpreters);
        QFETCH(QString, expected);
        QTemporaryDir documents, bin;
        for (QString file : files) {
            const bool executable = file.endsWith("+x");
            file.remove("+x");
            writeFile(documents.filePath("app/" + file), "",
                      executable ? QFile::ExeOwner : QFile::Permissions{});
        }
        for (const QString& name : interpreters)
            writeFile(bin.filePath(name), "#!/bin/sh\n", QFile::ExeOwner);
        const EntryPoint entry = findEntryPoint(documents.path(), {bin.path()});
        QCOMPARE(entry.error.isEmpty() ? entry.description : entry.error, expected);
        if (entry.error.isEmpty()) QVERIFY(QFileInfo(entry.program).isAbsolute());
    }

    void logJoinsAndCleansLines() {
        QTemporaryDir documents;
        const QString path = documents.filePath("script.log");
        ScriptLog log(path, getuid(), getgid());
        log.append("one\ntw", 6);
        log.append("o\n\xff\xfe bad\n", 9);
        log.append("\xe4\xb8", 2); // a character cut in two by the pipe
        log.append("\xad\n", 2);
        log.append("no end", 6);
        log.note("==== end ====");
        QCOMPARE(logLines(path), (QList<QByteArray>{"one", "two", "\xef\xbf\xbd\xef\xbf\xbd bad", "中",
                                                    "no end", "==== end ===="}));
        QVERIFY(readFile(path).startsWith("[20"));
    }

    // The viewer clears the log by putting an empty file in its place, or by truncating it.
    void logFollowsAClearedFile_data() {
        QTest::addColumn<bool>("replace");
        QTest::newRow("replaced") << true;
        QTest::newRow("truncated") << false;
    }
    void logFollowsAClearedFile() {
        QFETCH(bool, replace);
        QTemporaryDir documents;
        const QString path = documents.filePath("script.log");
        ScriptLog log(path, getuid(), getgid(), 1 << 20);
        log.append("before\n", 7);
        if (replace) {
            writeFile(documents.filePath("empty"), "");
            QCOMPARE(std::rename(qPrintable(documents.filePath("empty")), qPrintable(path)), 0);
        } else {
            QVERIFY(QFile::resize(path, 0));
        }
        log.append("after\n", 6);
        QCOMPARE(logLines(path), QList<QByteArray>{"after"});
        QVERIFY(!QFile::exists(path + ".1"));
    }

    void logRotatesWithoutLosingLines() {
        QTemporaryDir documents;
        const QString path = documents.filePath("script.log");
        ScriptLog log(path, getuid(), getgid(), 4096);
        for (int i = 0; i < 150; ++i) {
            const QByteArray line = QByteArray::number(i) + '\n';
            log.append(line.constData(), line.size());
        }
        QVERIFY(QFileInfo(path).size() <= 4096);
        QVERIFY(QFileInfo(path + ".1").size() <= 4096);
        const QList<QByteArray> all = logLines(path + ".1") + logLines(path);
        QCOMPARE(all.last(), QByteArray("149"));
        for (int i = 1; i < all.size(); ++i) // consecutive: nothing dropped at the seam
            QCOMPARE(all[i].toInt(), all[i - 1].toInt() + 1);
    }
};

QTEST_GUILESS_MAIN(DaemonRulesTest)
#include "tst_daemon_rules.moc"
