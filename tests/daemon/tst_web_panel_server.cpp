// The web panel's page server over real sockets: what it serves, with which type, and what it
// refuses: other sites, paths out of its folder, links, and methods other than reading.

#include "app/status/notification_names.h"
#include "daemon/web_server/WebPanelServer.h"
#include "platform/notify/notify.h"

#include <QDir>
#include <QFile>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>

using namespace brisko::web;

namespace {

const QByteArray kIndex = "<!doctype html><title>panel</title>";
const QByteArray kSecret = "secret outside the web folder";

void writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

struct Site {
    QTemporaryDir documents;
    WebPanelServer server{documents.path()};
    int closes = 0;

    Site() {
        const QString web = documents.filePath("app/web");
        writeFile(web + "/index.html", kIndex);
        writeFile(web + "/sub/style.css", "body{}");
        writeFile(web + "/sub/index.html", "sub index");
        writeFile(web + "/data.json", "{}");
        writeFile(web + "/pic.PNG", "png");
        writeFile(web + "/noext", "raw");
        writeFile(documents.filePath("app/secret.txt"), kSecret);
        QFile::link(documents.filePath("app/secret.txt"), web + "/out");
        QFile::link(documents.filePath("app"), web + "/dirlink");
        server.setCloseHandler([this] { ++closes; });
        QVERIFY(server.listenOnLoopback(0));
    }
    QByteArray host() const { return "127.0.0.1:" + QByteArray::number(server.port()); }

    QByteArray exchange(QByteArray request) {
        request.replace("HOST", host());
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, server.port());
        QByteArray reply;
        QObject::connect(&socket, &QTcpSocket::readyRead, [&] { reply += socket.readAll(); });
        socket.write(request);
        (void)QTest::qWaitFor([&] { return socket.state() == QAbstractSocket::UnconnectedState; }, 5000);
        return reply + socket.readAll();
    }
};

QByteArray header(const QByteArray& reply, const QByteArray& name) {
    for (const QByteArray& line : reply.left(reply.indexOf("\r\n\r\n")).split('\n'))
        if (line.toLower().startsWith(name + ':')) return line.mid(name.size() + 1).trimmed();
    return {};
}

QByteArray body(const QByteArray& reply) {
    return reply.mid(reply.indexOf("\r\n\r\n") + 4);
}

} // namespace

class WebPanelServerTest : public QObject {
    Q_OBJECT

  private slots:
    void files_data() {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("type"); // checked when the file is served
        QTest::newRow("root is index.html")
            << QByteArray("/") << 200 << QByteArray("text/html; charset=utf-8");
        QTest::newRow("folder gives its index")
            << QByteArray("/sub/") << 200 << QByteArray("text/html; charset=utf-8");
        QTest::newRow("css in a folder")
            << QByteArray("/sub/style.css") << 200 << QByteArray("text/css; charset=utf-8");
        QTest::newRow("json") << QByteArray("/data.json") << 200 << QByteArray("application/json");
        QTest::newRow("extension in capitals") << QByteArray("/pic.PNG") << 200 << QByteArray("image/png");
        QTest::newRow("no extension")
            << QByteArray("/noext") << 200 << QByteArray("application/octet-stream");
        QTest::newRow("missing") << QByteArray("/nothing.html") << 404 << QByteArray();
        QTest::newRow("dot dot") << QByteArray("/../secret.txt") << 0 << QByteArray();
        QTest::newRow("encoded dot dot") << QByteArray("/%2e%2e/secret.txt") << 403 << QByteArray();
        QTest::newRow("encoded dot dot, capitals")
            << QByteArray("/sub/%2E%2E/%2E%2E/secret.txt") << 403 << QByteArray();
        QTest::newRow("encoded slash and dots")
            << QByteArray("/sub%2f..%2f..%2fsecret.txt") << 403 << QByteArray();
        QTest::newRow("absolute path") << QByteArray("//etc/passwd") << 404 << QByteArray();
        QTest::newRow("encoded absolute path") << QByteArray("/%2fetc%2fpasswd") << 404 << QByteArray();
        QTest::newRow("link to a file outside") << QByteArray("/out") << 403 << QByteArray();
        QTest::newRow("link to a folder outside") << QByteArray("/dirlink/secret.txt") << 403 << QByteArray();
        QTest::newRow("nul byte") << QByteArray("/index.html%00.png") << 403 << QByteArray();
    }
    void files() {
        QFETCH(QByteArray, target);
        QFETCH(int, status);
        QFETCH(QByteArray, type);
        Site site;
        const QByteArray reply =
            site.exchange("GET " + target + " HTTP/1.1\r\nHost: HOST\r\nConnection: close\r\n\r\n");
        QVERIFY2(!reply.contains(kSecret), reply.constData());
        QVERIFY2(!reply.contains("root:"), reply.constData());
        if (status == 0) { // refused or resolved inside the folder: either way nothing from outside
            QVERIFY2(!reply.startsWith("HTTP/1.1 200"), reply.constData());
            return;
        }
        QCOMPARE(reply.left(12), "HTTP/1.1 " + QByteArray::number(status));
        if (status == 200) QCOMPARE(header(reply, "content-type"), type);
    }

    void headHasNoBody() {
        Site site;
        const QByteArray reply =
            site.exchange("HEAD /index.html HTTP/1.1\r\nHost: HOST\r\nConnection: close\r\n\r\n");
        QVERIFY2(reply.startsWith("HTTP/1.1 200"), reply.constData());
        QCOMPARE(header(reply, "content-length"), QByteArray::number(kIndex.size()));
        QCOMPARE(body(reply), QByteArray());
    }

    void requests_data() {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("closes");
        const QByteArray close = "Connection: close\r\n\r\n";
        const QByteArray post = "POST /close HTTP/1.1\r\nHost: HOST\r\nContent-Length: 0\r\n";
        QTest::newRow("foreign host") << "GET / HTTP/1.1\r\nHost: evil.example:65005\r\n" + close << 403 << 0;
        QTest::newRow("no host") << "GET / HTTP/1.0\r\n" + close << 403 << 0;
        QTest::newRow("foreign origin")
            << "GET / HTTP/1.1\r\nHost: HOST\r\nOrigin: http://evil.example\r\n" + close << 403 << 0;
        QTest::newRow("cross-site") << "GET / HTTP/1.1\r\nHost: HOST\r\nSec-Fetch-Site: cross-site\r\n" +
                                           close
                                    << 403 << 0;
        QTest::newRow("close from another site")
            << post + "Origin: http://evil.example\r\n" + close << 403 << 0;
        QTest::newRow("close, cross-site") << post + "Sec-Fetch-Site: cross-site\r\n" + close << 403 << 0;
        QTest::newRow("close from its own page")
            << post + "Origin: http://HOST\r\nSec-Fetch-Site: same-origin\r\n" + close << 200 << 1;
        QTest::newRow("post to a file")
            << "POST /index.html HTTP/1.1\r\nHost: HOST\r\nContent-Length: 0\r\n" + close << 405 << 0;
        QTest::newRow("put") << "PUT /index.html HTTP/1.1\r\nHost: HOST\r\nContent-Length: 1\r\n" + close +
                                    "x"
                             << 405 << 0;
        QTest::newRow("delete") << "DELETE /index.html HTTP/1.1\r\nHost: HOST\r\n" + close << 405 << 0;
    }
    void requests() {
        QFETCH(QByteArray, request);
        QFETCH(int, status);
        QFETCH(int, closes);
        Site site;
        const QByteArray reply = site.exchange(request);
        QCOMPARE(reply.left(12), "HTTP/1.1 " + QByteArray::number(status));
        QVERIFY(!reply.contains(kIndex));
        QCOMPARE(site.closes, closes);
    }

    void closePostsTheNotification() {
        QTemporaryDir documents;
        WebPanelServer server(documents.path());
        QVERIFY(server.listenOnLoopback(0));
        // Observers live as long as the process, and run on the notification thread.
        static std::atomic<int> seen{0};
        brisko::notify::addObserver(QString::fromLatin1(brisko::names::kWebViewClose), [] { ++seen; });
        QVERIFY(brisko::notify::waitUntilReady(5000));
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, server.port());
        socket.write("POST /close HTTP/1.1\r\nHost: localhost:" + QByteArray::number(server.port()) +
                     "\r\nContent-Length: 0\r\n\r\n");
        QTRY_COMPARE(seen.load(), 1);
    }
};

QTEST_GUILESS_MAIN(WebPanelServerTest)
#include "tst_web_panel_server.moc"
