// The task endpoint over real sockets: what it refuses, and that no client can hold up another.

#include "daemon/TaskServer.h"
#include "tests/support/manual_scheduler.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>
#include <QTest>

using namespace brisko::daemon;

namespace {

struct Endpoint {
    QStringList commands;
    TaskServer server{[this](const QString& cmd) {
        commands << cmd;
        return taskReply(cmd == "start" ? QString() : QStringLiteral("未知指令"));
    }};
    Endpoint() { QVERIFY(server.listenOnLoopback(0)); }
    QByteArray host() const { return "127.0.0.1:" + QByteArray::number(server.port()); }
};

bool isWholeReply(const QByteArray& reply) {
    const qsizetype end = reply.indexOf("\r\n\r\n");
    if (end < 0) return false;
    const qsizetype at = reply.toLower().indexOf("content-length:");
    const qsizetype length =
        at < 0 ? 0 : reply.mid(at + 15, reply.indexOf("\r\n", at) - at - 15).trimmed().toLongLong();
    return reply.size() >= end + 4 + length;
}

// The server runs on this thread: wait with the event loop turning, until a whole reply or a close.
QByteArray exchange(QTcpSocket& socket, const QByteArray& request) {
    QByteArray reply;
    const auto read = QObject::connect(&socket, &QTcpSocket::readyRead, [&] { reply += socket.readAll(); });
    socket.write(request);
    (void)QTest::qWaitFor(
        [&] { return socket.state() != QAbstractSocket::ConnectedState || isWholeReply(reply); }, 5000);
    QObject::disconnect(read);
    return reply + socket.readAll();
}

QByteArray statusLine(const QByteArray& reply) {
    return reply.left(reply.indexOf("\r\n"));
}

} // namespace

class TaskServerTest : public QObject {
    Q_OBJECT

  private slots:
    void requests_data() {
        QTest::addColumn<QByteArray>("request"); // HOST stands for the server's own authority
        QTest::addColumn<QByteArray>("status");
        QTest::addColumn<bool>("ran");
        const QByteArray get = "GET /task?cmd=start HTTP/1.1\r\n";
        QTest::newRow("the application") << get + "Host: HOST\r\n\r\n"
                                         << QByteArray("HTTP/1.1 200 OK") << true;
        QTest::newRow("foreign host") << get + "Host: evil.example\r\n\r\n"
                                      << QByteArray("HTTP/1.1 403 Forbidden") << false;
        QTest::newRow("foreign origin") << get + "Host: HOST\r\nOrigin: http://evil.example\r\n\r\n"
                                        << QByteArray("HTTP/1.1 403 Forbidden") << false;
        QTest::newRow("cross-site fetch") << get + "Host: HOST\r\nSec-Fetch-Site: cross-site\r\n\r\n"
                                          << QByteArray("HTTP/1.1 403 Forbidden") << false;
        QTest::newRow("websocket upgrade")
            << get + "Host: evil.example\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n\r\n"
            << QByteArray("HTTP/1.1 403 Forbidden") << false;
        QTest::newRow("other path") << QByteArray("GET /run?cmd=start HTTP/1.1\r\nHost: HOST\r\n\r\n")
                                    << QByteArray("HTTP/1.1 404 Not Found") << false;
        QTest::newRow("post")
            << QByteArray("POST /task?cmd=start HTTP/1.1\r\nHost: HOST\r\nContent-Length: 0\r\n\r\n")
            << QByteArray("HTTP/1.1 405 Method Not Allowed") << false;
        QTest::newRow("huge header") << get + "Host: HOST\r\nX-Pad: " + QByteArray(64 * 1024, 'a') +
                                            "\r\n\r\n"
                                     << QByteArray("413") << false;
        QTest::newRow("huge body") << get + "Host: HOST\r\nContent-Length: 1000000\r\n\r\n" +
                                          QByteArray(20000, 'b')
                                   << QByteArray("413") << false;
        // Not HTTP: answered at once, with no idle timer running to do it instead.
        const QByteArray bad("HTTP/1.1 400 Bad Request");
        QTest::newRow("tls hello") << QByteArray("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 11) << bad
                                   << false;
        QTest::newRow("nul bytes") << QByteArray(64, '\0') << bad << false;
        QTest::newRow("lowercase method") << QByteArray("get /task?cmd=start HTTP/1.1\r\n") << bad << false;
        QTest::newRow("no version") << QByteArray("GET /task?cmd=start\r\nHost: HOST\r\n\r\n") << bad
                                    << false;
        QTest::newRow("http/2 preface") << QByteArray("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n") << bad << false;
        QTest::newRow("control byte in a header") << get + "Host: HOST\r\nX-A: \x01\r\n\r\n" << bad << false;
        QTest::newRow("smtp greeting") << QByteArray("EHLO example.org\r\n") << bad << false;
    }
    void requests() {
        QFETCH(QByteArray, request);
        QFETCH(QByteArray, status);
        QFETCH(bool, ran);
        brisko::testing::ManualScheduler clock;
        Endpoint endpoint;
        QTcpSocket client;
        client.connectToHost(QHostAddress::LocalHost, endpoint.server.port());
        QVERIFY(client.waitForConnected());
        const QByteArray reply = exchange(client, request.replace("HOST", endpoint.host()));
        // An oversized request may see its answer or only the reset that follows it.
        if (status == "413")
            QVERIFY2(reply.isEmpty() || statusLine(reply) == "HTTP/1.1 413 Payload Too Large",
                     reply.constData());
        else
            QCOMPARE(statusLine(reply), status);
        QCOMPARE(endpoint.commands.contains("start"), ran);
    }

    void replyIsTheJsonTheApplicationReads() {
        Endpoint endpoint;
        QTcpSocket client;
        client.connectToHost(QHostAddress::LocalHost, endpoint.server.port());
        QVERIFY(client.waitForConnected());
        const QByteArray reply =
            exchange(client, "GET /task?cmd=dance HTTP/1.1\r\nHost: " + endpoint.host() + "\r\n\r\n");
        const QJsonObject body = QJsonDocument::fromJson(reply.mid(reply.indexOf("\r\n\r\n") + 4)).object();
        QCOMPARE(body.value("ok").toBool(true), false);
        QCOMPARE(body.value("error").toString(), QString("未知指令"));
    }

    // A client that never finishes its request neither blocks the next one nor stays forever.
    void slowClientIsServedAroundAndDropped() {
        brisko::testing::ManualScheduler clock;
        Endpoint endpoint;
        QTcpSocket slow;
        slow.connectToHost(QHostAddress::LocalHost, endpoint.server.port());
        QVERIFY(slow.waitForConnected());
        slow.write("GET /task?cmd=start HTTP/1.1\r\nHost: ");
        QVERIFY(slow.waitForBytesWritten());
        QTcpSocket quick;
        quick.connectToHost(QHostAddress::LocalHost, endpoint.server.port());
        QVERIFY(quick.waitForConnected());
        QCOMPARE(statusLine(exchange(quick, "GET /task?cmd=start HTTP/1.1\r\nHost: " + endpoint.host() +
                                                "\r\n\r\n")),
                 QByteArray("HTTP/1.1 200 OK"));
        QCOMPARE(slow.state(), QAbstractSocket::ConnectedState);
        clock.advance(kIdleSeconds);
        QTRY_COMPARE(slow.state(), QAbstractSocket::UnconnectedState);
    }

    void connectionFloodLeavesRoomOnceDropped() {
        brisko::testing::ManualScheduler clock;
        Endpoint endpoint;
        std::vector<std::unique_ptr<QTcpSocket>> idle;
        for (int i = 0; i < kMaxConnections + 4; ++i) {
            idle.push_back(std::make_unique<QTcpSocket>());
            idle.back()->connectToHost(QHostAddress::LocalHost, endpoint.server.port());
            QVERIFY(idle.back()->waitForConnected());
        }
        QTcpSocket late;
        late.connectToHost(QHostAddress::LocalHost, endpoint.server.port());
        QVERIFY(late.waitForConnected());
        QCOMPARE(exchange(late, "GET /task?cmd=start HTTP/1.1\r\nHost: " + endpoint.host() + "\r\n\r\n"),
                 QByteArray());
        clock.advance(kIdleSeconds); // the idle ones go
        QTcpSocket after;
        after.connectToHost(QHostAddress::LocalHost, endpoint.server.port());
        QVERIFY(after.waitForConnected());
        QCOMPARE(statusLine(exchange(after, "GET /task?cmd=start HTTP/1.1\r\nHost: " + endpoint.host() +
                                                "\r\n\r\n")),
                 QByteArray("HTTP/1.1 200 OK"));
    }
};

QTEST_GUILESS_MAIN(TaskServerTest)
#include "tst_task_server.moc"
