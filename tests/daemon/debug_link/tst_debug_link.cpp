// The debug link over real sockets: who it turns away, what a push may and may not change, the
// events socket, and a project pushed, run, followed and stopped.

#include "cli/zip_writer.h"
#include "daemon/ScriptSupervisor.h"
#include "daemon/debug_link/DebugLink.h"
#include "daemon/debug_link/pairing_token.h"
#include "file_manager/zip/unzip.h"
#include "tests/support/manual_scheduler.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QWebSocket>

#include <sys/stat.h>
#include <zlib.h>

using namespace brisko::daemon;

namespace {

struct Device {
    QTemporaryDir dir;
    QTemporaryDir outside; // where a write must never land
    ScriptSupervisor supervisor{dir.path()};
    std::unique_ptr<DebugLink> link = std::make_unique<DebugLink>(dir.path(), supervisor);
    Device() {
        QDir().mkpath(dir.filePath("app"));
        QFile::link(outside.path(), dir.filePath("app/out"));
        QVERIFY(link->start(0));
    }
    QByteArray authority() const { return "127.0.0.1:" + QByteArray::number(link->port()); }
    QByteArray appFile(const QString& name) const {
        QFile file(dir.filePath("app/" + name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<none>");
    }
};

// The link closes each connection after its reply: read until it does.
QByteArray exchange(quint16 port, const QByteArray& request) {
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    if (!socket.waitForConnected(5000)) return "<refused>";
    QByteArray reply;
    QObject::connect(&socket, &QTcpSocket::readyRead, [&] { reply += socket.readAll(); });
    socket.write(request);
    (void)QTest::qWaitFor([&] { return socket.state() == QAbstractSocket::UnconnectedState; }, 10000);
    return reply + socket.readAll();
}

QByteArray statusLine(const QByteArray& reply) {
    return reply.left(reply.indexOf("\r\n"));
}

QByteArray put(const QByteArray& target, const QByteArray& auth, const QByteArray& body) {
    return "PUT " + target + " HTTP/1.1\r\nHost: d\r\n" + auth +
           "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

void put16(QByteArray& out, quint16 v) {
    out.append(char(v & 0xFF)).append(char(v >> 8));
}
void put32(QByteArray& out, quint32 v) {
    put16(out, quint16(v));
    put16(out, quint16(v >> 16));
}

// One deflated entry whose header promises `declared` bytes, listed `copies` times in the
// central directory (each listing pointing at the same data, as overlap bombs do).
QByteArray deflatedZip(const QByteArray& content, quint32 declared, int copies) {
    QByteArray raw(int(compressBound(uLong(content.size()))) + 64, Qt::Uninitialized);
    z_stream z{};
    deflateInit2(&z, 9, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.constData()));
    z.avail_in = uInt(content.size());
    z.next_out = reinterpret_cast<Bytef*>(raw.data());
    z.avail_out = uInt(raw.size());
    deflate(&z, Z_FINISH);
    raw.truncate(qsizetype(z.total_out));
    deflateEnd(&z);
    const quint32 crc =
        quint32(crc32(0, reinterpret_cast<const Bytef*>(content.constData()), uInt(content.size())));
    auto common = [&](QByteArray& out, const QByteArray& name) {
        for (quint16 v : {quint16(20), quint16(0), quint16(8), quint16(0), quint16(0x21)})
            put16(out, v);
        put32(out, crc);
        put32(out, quint32(raw.size()));
        put32(out, declared);
        put16(out, quint16(name.size()));
        put16(out, 0);
    };
    QByteArray zip;
    put32(zip, 0x04034b50);
    common(zip, "big.txt");
    zip += "big.txt" + raw;
    const quint32 central = quint32(zip.size());
    for (int i = 0; i < copies; ++i) {
        const QByteArray name = "big" + QByteArray::number(i) + ".txt";
        put32(zip, 0x02014b50);
        put16(zip, 20);
        common(zip, name);
        for (int k = 0; k < 3; ++k)
            put16(zip, 0);
        put32(zip, 0);
        put32(zip, 0);
        zip += name;
    }
    put32(zip, 0x06054b50);
    put32(zip, 0);
    put16(zip, quint16(copies));
    put16(zip, quint16(copies));
    put32(zip, quint32(zip.size()) - central);
    put32(zip, central);
    put16(zip, 0);
    return zip;
}

bool writeFiles(const QTemporaryDir& folder, const QMap<QString, QByteArray>& files) {
    for (auto it = files.begin(); it != files.end(); ++it) {
        QDir().mkpath(QFileInfo(folder.filePath(it.key())).path());
        QFile out(folder.filePath(it.key()));
        if (!out.open(QIODevice::WriteOnly) || out.write(it.value()) != it.value().size()) return false;
    }
    return true;
}

QByteArray zipOf(const QMap<QString, QByteArray>& files) {
    QTemporaryDir folder;
    return writeFiles(folder, files) ? brisko::cli::zipFolder(folder.path()).archive : QByteArray();
}

QJsonObject parse(const QString& message) {
    return QJsonDocument::fromJson(message.toUtf8()).object();
}

} // namespace

class DebugLinkTest : public QObject {
    Q_OBJECT

  private slots:
    void refusals_data() {
        QTest::addColumn<QByteArray>("request"); // TOKEN stands for the pairing token
        QTest::addColumn<QByteArray>("status");
        QTest::addColumn<int>("eventClients"); // open before the request
        const QByteArray bearer = "Authorization: Bearer TOKEN\r\n";
        const QByteArray get = "GET /v1/info HTTP/1.1\r\nHost: d\r\n";
        const QByteArray upgrade = "GET /v1/events HTTP/1.1\r\nHost: d\r\nUpgrade: websocket\r\n"
                                   "Connection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                                   "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";
        QTest::newRow("bearer token") << get + bearer + "\r\n" << QByteArray("HTTP/1.1 200 OK") << 0;
        QTest::newRow("token in query") << QByteArray("GET /v1/info?token=TOKEN HTTP/1.1\r\nHost: d\r\n\r\n")
                                        << QByteArray("HTTP/1.1 200 OK") << 0;
        QTest::newRow("no token") << get + "\r\n" << QByteArray("HTTP/1.1 401") << 0;
        QTest::newRow("wrong token") << get + "Authorization: Bearer 0123\r\n\r\n"
                                     << QByteArray("HTTP/1.1 401") << 0;
        QTest::newRow("token in upper case") << get + "Authorization: Bearer UPPER\r\n\r\n"
                                             << QByteArray("HTTP/1.1 401") << 0;
        QTest::newRow("upgrade without token") << upgrade + "\r\n" << QByteArray("HTTP/1.1 401") << 0;
        QTest::newRow("ninth events client") << upgrade + bearer + "\r\n"
                                             << QByteArray("HTTP/1.1 429") << kMaxEventClients;
        QTest::newRow("upgrade elsewhere")
            << QByteArray(upgrade).replace("/v1/events", "/v1/info") + bearer + "\r\n"
            << QByteArray("HTTP/1.1 404") << 0;
        QTest::newRow("dot dot") << put("/v1/files/../escape.txt", bearer, "x") << QByteArray("HTTP/1.1 40")
                                 << 0;
        QTest::newRow("encoded dot dot")
            << put("/v1/files/%2e%2e/escape.txt", bearer, "x") << QByteArray("HTTP/1.1 400") << 0;
        QTest::newRow("encoded slash")
            << put("/v1/files/a%2f..%2f..%2fescape.txt", bearer, "x") << QByteArray("HTTP/1.1 400") << 0;
        QTest::newRow("absolute path")
            << put("/v1/files//tmp/escape.txt", bearer, "x") << QByteArray("HTTP/1.1 400") << 0;
        QTest::newRow("link out") << put("/v1/files/out/escape.txt", bearer, "x")
                                  << QByteArray("HTTP/1.1 400") << 0;
        QTest::newRow("link out as file")
            << put("/v1/files/out", bearer, "x") << QByteArray("HTTP/1.1 200 OK") << 0;
        QTest::newRow("oversized body")
            << "PUT /v1/project HTTP/1.1\r\nHost: d\r\n" + bearer + "Content-Length: 999999999999\r\n\r\n"
            << QByteArray("HTTP/1.1 413") << 0;
        QTest::newRow("oversized body without token")
            << QByteArray("PUT /v1/project HTTP/1.1\r\nHost: d\r\nContent-Length: 999999999999\r\n\r\n")
            << QByteArray("HTTP/1.1 401") << 0;
        QTest::newRow("chunked body")
            << "PUT /v1/project HTTP/1.1\r\nHost: d\r\n" + bearer + "Transfer-Encoding: chunked\r\n\r\n"
            << QByteArray("HTTP/1.1 411") << 0;
        QTest::newRow("huge head") << get + "X-Pad: " + QByteArray(20000, 'a') + "\r\n\r\n"
                                   << QByteArray("HTTP/1.1 431") << 0;
        QTest::newRow("garbage") << QByteArray("\x16\x03\x01\x02\x01 junk\r\n\r\n")
                                 << QByteArray("HTTP/1.1 431") << 0;
    }
    void refusals() {
        QFETCH(QByteArray, request);
        QFETCH(QByteArray, status);
        QFETCH(int, eventClients);
        Device device;
        const QByteArray token = device.link->token();
        std::vector<std::unique_ptr<QWebSocket>> clients;
        int greeted = 0; // the link greets a client once it counts it
        for (int i = 0; i < eventClients; ++i) {
            clients.push_back(std::make_unique<QWebSocket>());
            QObject::connect(clients.back().get(), &QWebSocket::textMessageReceived, [&] { ++greeted; });
            clients.back()->open(QUrl("ws://" + device.authority() + "/v1/events?token=" + token));
        }
        QTRY_COMPARE(greeted, eventClients);
        request.replace("UPPER", token.toUpper()).replace("TOKEN", token);
        const QByteArray reply = exchange(device.link->port(), request);
        QVERIFY2(statusLine(reply).startsWith(status), reply.left(300).constData());
        QVERIFY(!reply.contains("Access-Control-Allow"));
        QVERIFY(QDir(device.outside.path()).isEmpty());
        QVERIFY(!QFile::exists(device.dir.filePath("escape.txt")));
    }

    // A client that never finishes its head is dropped at the deadline; others are served meanwhile.
    void slowClient() {
        brisko::testing::ManualScheduler clock;
        Device device;
        QTcpSocket slow;
        slow.connectToHost(QHostAddress::LocalHost, device.link->port());
        QVERIFY(slow.waitForConnected(5000));
        slow.write("GET /v1/info HTTP/1.1\r\nHost: d\r\n");
        const QByteArray other =
            exchange(device.link->port(),
                     "GET /v1/info HTTP/1.1\r\nAuthorization: Bearer " + device.link->token() + "\r\n\r\n");
        QCOMPARE(statusLine(other), QByteArray("HTTP/1.1 200 OK"));
        QCOMPARE(slow.state(), QAbstractSocket::ConnectedState);
        clock.advance(kHeadSeconds);
        QTRY_COMPARE(slow.state(), QAbstractSocket::UnconnectedState);
    }

    void tokenFile() {
        Device device;
        const QString path = tokenFilePath(device.dir.path());
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), device.link->token());
        QVERIFY(
            QRegularExpression("^[0-9a-f]{64}$").match(QString::fromLatin1(device.link->token())).hasMatch());
        struct stat st {};
        QCOMPARE(::stat(QFile::encodeName(path).constData(), &st), 0);
        QCOMPARE(st.st_mode & 0777, 0600u);
        const quint16 port = device.link->port();
        QTcpSocket follower;
        follower.connectToHost(QHostAddress::LocalHost, port);
        follower.write("GET /v1/log?follow=1&token=" + device.link->token() + " HTTP/1.1\r\n\r\n");
        QTRY_VERIFY(follower.bytesAvailable() > 0);
        device.link.reset();
        QTRY_COMPARE(follower.state(), QAbstractSocket::UnconnectedState);
        QVERIFY(!QFile::exists(path));
        QCOMPARE(exchange(port, "GET /v1/info HTTP/1.1\r\n\r\n"), QByteArray("<refused>"));
    }

    void projects_data() {
        QTest::addColumn<QByteArray>("zip");
        QTest::addColumn<bool>("replaced");
        QTest::newRow("a project") << zipOf({{"main.sh", "echo new\n"}, {"lib/a.txt", "a"}}) << true;
        QTest::newRow("not a zip") << QByteArray(5000, 'z') << false;
        QTest::newRow("empty body") << QByteArray() << false;
        QTest::newRow("declares too much") << deflatedZip(QByteArray(1000, 0), 0xFFFFFFF0u, 2) << false;
        // Promises 600 KiB, inflates to 8 MiB: stopped by the extractor mid-stream.
        QTest::newRow("inflates past its size") << deflatedZip(QByteArray(8 << 20, 0), 600 << 10, 1) << false;
        QTest::newRow("overlapping entries") << deflatedZip(QByteArray(4096, 'o'), 4096, 3) << false;
        QByteArray cut = zipOf({{"main.sh", "echo new\n"}});
        QTest::newRow("truncated") << cut.left(cut.size() / 2) << false;
    }
    void projects() {
        QFETCH(QByteArray, zip);
        QFETCH(bool, replaced);
        Device device;
        QFile old(device.dir.filePath("app/main.sh"));
        QVERIFY(old.open(QIODevice::WriteOnly) && old.write("echo old\n") > 0);
        old.close();
        const QByteArray reply =
            exchange(device.link->port(),
                     put("/v1/project", "Authorization: Bearer " + device.link->token() + "\r\n", zip));
        QCOMPARE(statusLine(reply).startsWith("HTTP/1.1 200"), replaced);
        QCOMPARE(device.appFile("main.sh"), replaced ? QByteArray("echo new\n") : QByteArray("echo old\n"));
        QCOMPARE(QFile::exists(device.dir.filePath("app/out")), !replaced);
        // Nothing of the attempt is left beside the app folder.
        QTRY_COMPARE(
            QDir(device.dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
            QStringList({".floatball.token", "app"}));
        QVERIFY(QDir(device.outside.path()).isEmpty());
    }

    // The log as the writer and the viewer change it; a line written afterwards still reaches the
    // events socket, the follow stream and an offset read.
    void logFollow_data() {
        QTest::addColumn<QString>("change");
        QTest::newRow("appended") << "append";
        QTest::newRow("cleared") << "replace"; // an empty file renamed over it
        QTest::newRow("rotated") << "rotate";
        QTest::newRow("cut short in place") << "truncate";
    }
    void logFollow() {
        QFETCH(QString, change);
        Device device;
        const QString log = device.dir.filePath("script.log");
        const auto write = [](const QString& path, const QByteArray& text, QIODevice::OpenMode mode) {
            QFile file(path);
            QVERIFY(file.open(mode));
            file.write(text);
        };
        write(log, "before\n", QIODevice::WriteOnly);
        QWebSocket events;
        QStringList lines;
        QObject::connect(&events, &QWebSocket::textMessageReceived, [&](const QString& m) {
            if (parse(m).value("type").toString() == u"log") lines << parse(m).value("text").toString();
        });
        events.open(QUrl("ws://" + device.authority() + "/v1/events?token=" + device.link->token()));
        QTRY_COMPARE(events.state(), QAbstractSocket::ConnectedState);
        QTcpSocket stream;
        QByteArray streamed;
        QObject::connect(&stream, &QTcpSocket::readyRead, [&] { streamed += stream.readAll(); });
        stream.connectToHost(QHostAddress::LocalHost, device.link->port());
        stream.write("GET /v1/log?follow=1&token=" + device.link->token() + " HTTP/1.1\r\n\r\n");
        QTRY_VERIFY(streamed.contains("chunked"));
        write(log, "middle\n", QIODevice::Append);
        QTRY_COMPARE(lines, QStringList{"middle"});
        if (change == u"replace") {
            write(log + ".new", "", QIODevice::WriteOnly);
            QVERIFY(::rename(qPrintable(log + ".new"), qPrintable(log)) == 0);
        } else if (change == u"rotate") {
            QVERIFY(QFile::rename(log, log + ".1"));
        } else if (change == u"truncate") {
            QVERIFY(QFile::resize(log, 0));
        }
        write(log, "after\n", QIODevice::Append);
        QTRY_COMPARE(lines, (QStringList{"middle", "after"}));
        QTRY_VERIFY(streamed.contains("middle") && streamed.contains("after"));
        const QByteArray read = exchange(
            device.link->port(), "GET /v1/log?offset=0&token=" + device.link->token() + " HTTP/1.1\r\n\r\n");
        QVERIFY2(read.endsWith("after\n"), read.constData());
    }

    void screenshot_data() {
        QTest::addColumn<QImage>("frame");
        QTest::addColumn<QByteArray>("status");
        QImage frame(4, 3, QImage::Format_ARGB32);
        frame.fill(Qt::red);
        QTest::newRow("a frame") << frame << QByteArray("HTTP/1.1 200 OK");
        QTest::newRow("no display") << QImage() << QByteArray("HTTP/1.1 503");
    }
    void screenshot() {
        QFETCH(QImage, frame);
        QFETCH(QByteArray, status);
        Device device;
        device.link->setScreenCapture([frame] { return frame; });
        const QByteArray reply = exchange(
            device.link->port(), "GET /v1/screenshot?token=" + device.link->token() + " HTTP/1.1\r\n\r\n");
        QVERIFY2(statusLine(reply).startsWith(status), reply.left(200).constData());
        const QByteArray body = reply.mid(reply.indexOf("\r\n\r\n") + 4);
        if (!frame.isNull()) QCOMPARE(QImage::fromData(body, "PNG").size(), frame.size());
    }

    // The archive push streams: its length is promised before the first file is read, so a
    // file that changes meanwhile must stop the push rather than break the promise.
    void streamedArchive_data() {
        QTest::addColumn<QString>("change"); // after planning
        QTest::addColumn<bool>("complete");
        QTest::newRow("as planned") << "" << true;
        QTest::newRow("a file grew") << "grow" << false;
        QTest::newRow("a file shrank") << "shrink" << false;
        QTest::newRow("a file went") << "remove" << false;
        QTest::newRow("a file became a link") << "link" << false;
    }
    void streamedArchive() {
        QFETCH(QString, change);
        QFETCH(bool, complete);
        QTemporaryDir project, out;
        const QMap<QString, QByteArray> files = {
            {"main", "#!/bin/sh\n"}, {"empty", ""}, {"lib/深/名前.txt", QByteArray(300000, 'x')}};
        QVERIFY(writeFiles(project, files));
        QVERIFY(QFile::setPermissions(project.filePath("main"), QFile::ReadOwner | QFile::WriteOwner |
                                                                    QFile::ExeOwner | QFile::ReadGroup));
        const brisko::cli::ProjectPlan plan = brisko::cli::planProject(project.path());
        QCOMPARE(plan.files.size(), size_t(3));
        const QString victim = project.filePath("lib/深/名前.txt");
        if (change == u"grow" || change == u"shrink")
            QVERIFY(QFile::resize(victim, change == u"grow" ? 300001 : 3));
        if (change == u"remove" || change == u"link") QVERIFY(QFile::remove(victim));
        if (change == u"link") QVERIFY(QFile::link(project.filePath("main"), victim));
        QByteArray zip;
        const QString error = brisko::cli::writeProjectZip(plan, [&](const char* data, size_t size) {
            zip.append(data, qsizetype(size));
            return true;
        });
        QCOMPARE(error.isEmpty(), complete);
        if (!complete) return;
        QCOMPARE(qint64(zip.size()), plan.archiveBytes);
        const QString archive = out.filePath("p.zip");
        QFile file(archive);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(zip) == zip.size());
        file.close();
        QVERIFY(brisko::BKUnzipFile(QFile::encodeName(archive).toStdString(),
                                    QFile::encodeName(out.filePath("app")).toStdString()));
        for (auto it = files.begin(); it != files.end(); ++it) {
            QFile unpacked(out.filePath("app/" + it.key()));
            QVERIFY(unpacked.open(QIODevice::ReadOnly));
            QCOMPARE(unpacked.readAll(), it.value());
        }
        QVERIFY(QFileInfo(out.filePath("app/main")).isExecutable());
    }

    // Several computers may watch at once; "connected" covers the first arrival to the last leave.
    void eventClients() {
        Device device;
        QSignalSpy connected(device.link.get(), &DebugLink::connectedChanged);
        QUrl url("ws://" + device.authority() + "/v1/events?token=" + device.link->token());
        QWebSocket first, second;
        QStringList received;
        for (QWebSocket* client : {&first, &second}) {
            QObject::connect(client, &QWebSocket::textMessageReceived,
                             [&](const QString& m) { received << m; });
            client->open(url);
        }
        QTRY_COMPARE(received.size(), 2);
        QCOMPARE(parse(received[0]).value("state").toString(), "stopped");
        QCOMPARE(connected.size(), 1);
        QCOMPARE(connected[0][0].toBool(), true);
        first.close();
        QTRY_COMPARE(device.link->findChildren<QWebSocket*>().size() <= 1, true);
        QCOMPARE(connected.size(), 1);
        second.close();
        QTRY_COMPARE(connected.size(), 2);
        QCOMPARE(connected[1][0].toBool(), false);
    }

    // A project pushed, started, its log line seen on the events socket, then stopped. Its entry
    // point is an executable `main`: it runs only if the push kept its mode.
    void pushRunFollowStop() {
        Device device;
        QWebSocket events;
        QList<QJsonObject> messages;
        QObject::connect(&events, &QWebSocket::textMessageReceived,
                         [&](const QString& m) { messages << parse(m); });
        events.open(QUrl("ws://" + device.authority() + "/v1/events?token=" + device.link->token()));
        QTRY_COMPARE(messages.size(), 1);

        QTemporaryDir project;
        QFile script(project.filePath("main"));
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write("#!/bin/sh\necho hello from the push; while :; do sleep 0.05; done\n");
        script.close();
        QVERIFY(script.setPermissions(script.permissions() | QFile::ExeOwner));
        QByteArray said;
        const auto cli = [&](const QStringList& words) {
            QProcess process;
            process.start(BRISKO_CLI, QStringList{"--device", device.authority(), "--token",
                                                  QString::fromLatin1(device.link->token())} +
                                          words);
            (void)QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 20000);
            said = process.readAllStandardOutput();
            return process.exitCode();
        };
        QCOMPARE(cli({"push", project.path()}), 0);
        QCOMPARE(cli({"run"}), 0);
        const auto sawLine = [&] {
            return std::any_of(messages.begin(), messages.end(), [](const QJsonObject& m) {
                return m.value("type").toString() == u"log" &&
                       m.value("text").toString().contains("hello from the push");
            });
        };
        QTRY_VERIFY_WITH_TIMEOUT(sawLine(), 10000);
        QCOMPARE(cli({"stop"}), 0);
        QCOMPARE(said, "stop: ok (script stopping)\n"); // the reply comes before the exit
        QTRY_VERIFY(std::any_of(messages.begin(), messages.end(), [](const QJsonObject& m) {
            return m.value("type").toString() == u"state" && m.value("state").toString() == u"stopped";
        }));
    }

    void cliErrors_data() {
        QTest::addColumn<QString>("device"); // PORT stands for the link's port
        QTest::addColumn<QString>("token");  // TOKEN for the pairing token
        QTest::addColumn<int>("exitCode");
        // Paired, so the supervisor's own refusal comes through: nothing is running to pause.
        QTest::newRow("paired") << "127.0.0.1:PORT"
                                << "TOKEN" << 1;
        QTest::newRow("bad token") << "127.0.0.1:PORT"
                                   << "nope" << 4;
        QTest::newRow("unreachable") << "127.0.0.1:1"
                                     << "TOKEN" << 3;
        QTest::newRow("no device") << ""
                                   << "TOKEN" << 2;
    }
    void cliErrors() {
        QFETCH(QString, device);
        QFETCH(QString, token);
        QFETCH(int, exitCode);
        Device link;
        QProcess process;
        process.start(BRISKO_CLI,
                      {"--device", device.replace("PORT", QString::number(link.link->port())), "--token",
                       token.replace("TOKEN", QString::fromLatin1(link.link->token())), "pause"});
        QVERIFY(QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 20000));
        QCOMPARE(process.exitCode(), exitCode);
        if (exitCode == 1) QVERIFY(process.readAllStandardError().contains("脚本未在运行"));
    }
};

QTEST_GUILESS_MAIN(DebugLinkTest)
#include "tst_debug_link.moc"
