// The per-run script API over its real socket, under the test's X display: who may connect,
// what it does with bad lines, and that each call reaches the screen, the files or the log.

#include "daemon/ScriptSupervisor.h"
#include "daemon/script_api/api_client.h"
#include "daemon/script_api/api_protocol.h"
#include "daemon/script_api/script_api_server.h"

#include <QImage>
#include <QJsonDocument>
#include <QPainter>
#include <QRasterWindow>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace brisko::scriptapi;

namespace {

constexpr uid_t kScriptUid = 65534; // nobody: the script's user in the tests that need root
constexpr uid_t kStrangerUid = 65533;

int connectTo(const QByteArray& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// Every reply line up to the first close or quiet spell, whichever comes first.
QList<QJsonObject> converse(const QByteArray& path, const QByteArray& bytes, int expectedReplies = 1) {
    const int fd = connectTo(path);
    if (fd < 0) return {};
    (void)!::write(fd, bytes.constData(), size_t(bytes.size()));
    QByteArray received;
    char buffer[4096];
    pollfd poller{fd, POLLIN, 0};
    while (received.count('\n') < expectedReplies && ::poll(&poller, 1, 10'000) > 0) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n <= 0) break;
        received.append(buffer, n);
    }
    ::close(fd);
    QList<QJsonObject> replies;
    for (const QByteArray& line : received.split('\n'))
        if (!line.isEmpty()) replies << QJsonDocument::fromJson(line).object();
    return replies;
}

QJsonObject call(const ScriptApiServer& server, const QJsonObject& request) {
    const QList<QJsonObject> replies = converse(server.socketPath(), encodeLine(request));
    return replies.value(0);
}

struct Run {
    QTemporaryDir home;
    std::unique_ptr<ScriptApiServer> server;

    explicit Run(ScriptIdentity identity = {}) {
        ::chmod(QFile::encodeName(home.path()).constData(), 0755);
        ScriptApiSettings settings;
        settings.identity = identity;
        settings.workingDirectory = home.path();
        settings.display = qgetenv("DISPLAY");
        settings.logPath = home.filePath("script.log");
        QString error;
        server = ScriptApiServer::start(settings, &error);
        QVERIFY2(server, qPrintable(error));
    }
};

ScriptIdentity nobody() {
    return {true, kScriptUid, kScriptUid, {kScriptUid}};
}

// A window over the whole screen that says what reached it.
class Target : public QRasterWindow {
  public:
    QColor fill{0x12, 0xab, 0x34};
    QList<QPoint> presses, releases;
    QList<int> keys;
    int moves = 0;

    bool showOverTheScreen() {
        setGeometry(QGuiApplication::primaryScreen()->geometry());
        show();
        return QTest::qWaitForWindowExposed(this);
    }

  protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(QRect(QPoint(), size()), fill); }
    void mousePressEvent(QMouseEvent* e) override { presses << e->position().toPoint(); }
    void mouseReleaseEvent(QMouseEvent* e) override { releases << e->position().toPoint(); }
    void mouseMoveEvent(QMouseEvent*) override { ++moves; }
    void keyPressEvent(QKeyEvent* e) override { keys << e->key(); }
};

} // namespace

class ScriptApiTest : public QObject {
    Q_OBJECT

  private slots:
    void socketIsPrivateAndGoesWithTheRun() {
        if (geteuid() != 0) QSKIP("needs root to hand the socket to another user");
        auto run = std::make_unique<Run>(nobody());
        const QByteArray path = run->server->socketPath();
        struct stat socketStat {
        }, dirStat{};
        QCOMPARE(::stat(path.constData(), &socketStat), 0);
        QCOMPARE(::stat(QFileInfo(QFile::decodeName(path)).path().toLocal8Bit().constData(), &dirStat), 0);
        QCOMPARE(socketStat.st_mode & 07777, 0600u);
        QCOMPARE(dirStat.st_mode & 07777, 0700u);
        QCOMPARE(socketStat.st_uid, kScriptUid);
        QCOMPARE(dirStat.st_uid, kScriptUid);
        QCOMPARE(run->server->environmentEntry(), "BRISKO_API=" + path);
        run.reset();
        QVERIFY(!QFileInfo::exists(QFileInfo(QFile::decodeName(path)).path()));
    }

    void peers_data() {
        QTest::addColumn<uint>("uid");
        QTest::addColumn<bool>("answered");
        QTest::newRow("root") << 0u << true;
        QTest::newRow("the script's user") << uint(kScriptUid) << true;
        QTest::newRow("anyone else, even through loosened modes") << uint(kStrangerUid) << false;
    }
    void peers() {
        QFETCH(uint, uid);
        QFETCH(bool, answered);
        if (geteuid() != 0) QSKIP("needs root to connect as other users");
        Run run(nobody());
        const QByteArray path = run.server->socketPath();
        ::chmod(QFileInfo(QFile::decodeName(path)).path().toLocal8Bit().constData(), 0777);
        ::chmod(path.constData(), 0666);
        const QByteArray request = encodeLine({{"call", "webview"}, {"action", "nonsense"}});
        const pid_t child = fork();
        if (child == 0) {
            // Only raw calls here: the parent has other threads.
            if (syscall(SYS_setresuid, uid, uid, uid) != 0) _exit(3);
            const int fd = connectTo(path);
            if (fd < 0) _exit(2);
            (void)!::send(fd, request.constData(), size_t(request.size()), MSG_NOSIGNAL);
            char reply[256] = {};
            (void)!::read(fd, reply, sizeof reply - 1);
            _exit(std::strstr(reply, "permission denied") ? 1 : std::strstr(reply, "show or close") ? 0 : 4);
        }
        int status = 0;
        QCOMPARE(waitpid(child, &status, 0), child);
        QCOMPARE(WEXITSTATUS(status), answered ? 0 : 1);
    }

    void badLines_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("error");
        QTest::addColumn<bool>("keepsConnection");
        QTest::newRow("not JSON") << QByteArray("tap 1 2\n") << "not a JSON object" << true;
        QTest::newRow("an array") << QByteArray("[\"tap\",1,2]\n") << "not a JSON object" << true;
        QTest::newRow("no call") << QByteArray("{\"x\":1}\n") << "unknown call" << true;
        QTest::newRow("unknown call") << QByteArray("{\"call\":\"reboot\"}\n") << "unknown call" << true;
        QTest::newRow("text for a number")
            << QByteArray("{\"call\":\"tap\",\"x\":\"1\",\"y\":2}\n") << "tap wants x as a number" << true;
        QTest::newRow("missing argument")
            << QByteArray("{\"call\":\"swipe\",\"x1\":1,\"y1\":2,\"x2\":3,\"y2\":4}\n")
            << "swipe wants ms as a number" << true;
        QTest::newRow("number for a text")
            << QByteArray("{\"call\":\"log\",\"text\":5}\n") << "log wants text as a string" << true;
        QTest::newRow("invalid UTF-8")
            << QByteArray("{\"call\":\"log\",\"text\":\"\xff\xfe\"}\n") << "not a JSON object" << true;
        QTest::newRow("line over the cap") << QByteArray(kMaxLineBytes + 10, 'x') << "line over" << false;
        QTest::newRow("long line ended") << QByteArray(kMaxLineBytes + 10, ' ') + "{}\n"
                                         << "line over" << false;
    }
    void badLines() {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, error);
        QFETCH(bool, keepsConnection);
        Run run;
        // A good call after the bad line shows whether the connection survived it.
        const QByteArray after = encodeLine({{"call", "webview"}, {"action", "?"}});
        const QList<QJsonObject> replies = converse(run.server->socketPath(), bytes + "\n\n" + after, 2);
        QVERIFY(!replies.isEmpty());
        QCOMPARE(replies[0].value("ok").toBool(), false);
        QVERIFY2(replies[0].value("error").toString().startsWith(error),
                 qPrintable(replies[0].value("error").toString()));
        QCOMPARE(replies.size(), keepsConnection ? 2 : 1);
    }

    void inputReachesTheScreen() {
        Target window;
        QVERIFY(window.showOverTheScreen());
        Run run;
        QCOMPARE(call(*run.server, {{"call", "tap"}, {"x", 40}, {"y", 50}}), okReply());
        QTRY_COMPARE(window.releases, QList<QPoint>{QPoint(40, 50)});
        QCOMPARE(window.presses, QList<QPoint>{QPoint(40, 50)});
        QCOMPARE(call(*run.server,
                      {{"call", "swipe"}, {"x1", 10}, {"y1", 20}, {"x2", 110}, {"y2", 220}, {"ms", 100}}),
                 okReply());
        QTRY_COMPARE(window.releases.size(), 2);
        QCOMPARE(window.presses.last(), QPoint(10, 20));
        QCOMPARE(window.releases.last(), QPoint(110, 220));
        QVERIFY(window.moves > 1); // dragged through, not jumped
        window.requestActivate();
        QCOMPARE(call(*run.server, {{"call", "key"}, {"name", "Return"}}), okReply());
        QTRY_COMPARE(window.keys, QList<int>{Qt::Key_Return});
    }

    void screenIsRead() {
        Target window;
        QVERIFY(window.showOverTheScreen());
        Run run;
        QTRY_COMPARE(call(*run.server, {{"call", "color_at"}, {"x", 5}, {"y", 7}}).value("color").toString(),
                     QStringLiteral("#12AB34"));
        QCOMPARE(call(*run.server, {{"call", "color_at"}, {"x", -1}, {"y", 7}}),
                 errorReply("outside the screen"));
        const QJsonObject shot = call(*run.server, {{"call", "screenshot"}, {"path", "shot.png"}});
        QCOMPARE(shot.value("path").toString(),
                 run.home.filePath("shot.png")); // relative to the run's folder
        const QImage image(run.home.filePath("shot.png"));
        QCOMPARE(image.size(), window.size());
        QCOMPARE(image.pixelColor(5, 7), window.fill);
    }

    // Root writes only where the script itself could; a refused write leaves the old file.
    void screenshotsAsTheScriptsUser_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<uint>("folderMode");
        QTest::addColumn<bool>("written");
        QTest::newRow("a folder the user may write") << "open/shot.png" << 0777u << true;
        QTest::newRow("root's own folder") << "closed/shot.png" << 0755u << false;
        QTest::newRow("out of reach by path") << "/proc/shot.png" << 0u << false;
    }
    void screenshotsAsTheScriptsUser() {
        QFETCH(QString, name);
        QFETCH(uint, folderMode);
        QFETCH(bool, written);
        if (geteuid() != 0) QSKIP("needs root to act as another user");
        Target window;
        QVERIFY(window.showOverTheScreen());
        Run run(nobody());
        const QString target = QDir(run.home.path()).absoluteFilePath(name);
        if (folderMode) {
            QDir().mkpath(QFileInfo(target).path());
            ::chmod(QFile::encodeName(QFileInfo(target).path()).constData(), folderMode);
            QFile old(target);
            QVERIFY(old.open(QIODevice::WriteOnly));
            old.write("old");
        }
        const QJsonObject reply = call(*run.server, {{"call", "screenshot"}, {"path", name}});
        QCOMPARE(reply.value("ok").toBool(), written);
        if (!folderMode) return;
        QFile result(target);
        QVERIFY(result.open(QIODevice::ReadOnly));
        QCOMPARE(result.read(3) == "old", !written);
        QCOMPARE(QFileInfo(target).ownerId(), written ? kScriptUid : 0u);
        QCOMPARE(QDir(QFileInfo(target).path()).entryList(QDir::Files).size(), 1); // no temporary left
    }

    // The supervisor hands each run its socket and takes it away when the run ends.
    void aRunTalksToItsOwnSocket() {
        QTemporaryDir documents;
        QDir().mkpath(documents.filePath("app"));
        QFile main(documents.filePath("app/main.py"));
        QVERIFY(main.open(QIODevice::WriteOnly));
        main.write("import os, socket\n"
                   "s = socket.socket(socket.AF_UNIX)\n"
                   "s.connect(os.environ['BRISKO_API'])\n"
                   "s.sendall(b'{\"call\":\"log\",\"text\":\"through\\\\nthe api\"}\\n')\n"
                   "print('reply ' + s.recv(100).decode().strip())\n"
                   "print('socket ' + os.environ['BRISKO_API'])\n");
        main.close();
        brisko::daemon::ScriptSupervisor supervisor(documents.path());
        QSignalSpy states(&supervisor, &brisko::daemon::ScriptSupervisor::stateChanged);
        QCOMPARE(supervisor.start(), QString());
        QTRY_COMPARE_WITH_TIMEOUT(supervisor.state(), brisko::daemon::ScriptState::Stopped, 20000);
        QFile log(documents.filePath("script.log"));
        QVERIFY(log.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(log.readAll());
        QVERIFY2(text.contains("] through\n") && text.contains("] the api\n") &&
                     text.contains("reply {\"ok\":true}"),
                 qPrintable(text));
        const qsizetype at = text.indexOf("socket /");
        QVERIFY2(at > 0, qPrintable(text));
        const QString socket = text.mid(at + 7, text.indexOf(u'\n', at) - at - 7);
        QVERIFY(!QFileInfo::exists(socket));
        QVERIFY(!QFileInfo::exists(QFileInfo(socket).path()));
    }

    void shellClient_data() {
        QTest::addColumn<QStringList>("words");
        QTest::addColumn<bool>("withSocket");
        QTest::addColumn<int>("exitCode");
        QTest::newRow("done") << QStringList{"log", "from", "the", "shell"} << true << int(kApiDone);
        QTest::newRow("refused by the daemon")
            << QStringList{"key", "NoSuchKeyAtAll"} << true << int(kApiRefused);
        QTest::newRow("unknown call") << QStringList{"reboot"} << true << int(kApiUsage);
        QTest::newRow("too few arguments") << QStringList{"tap", "1"} << true << int(kApiUsage);
        QTest::newRow("not a number") << QStringList{"tap", "1", "nan"} << true << int(kApiUsage);
        QTest::newRow("outside a run") << QStringList{"tap", "1", "2"} << false << int(kApiUnreachable);
    }
    void shellClient() {
        QFETCH(QStringList, words);
        QFETCH(bool, withSocket);
        QFETCH(int, exitCode);
        Run run;
        if (withSocket)
            qputenv(kSocketVariable, run.server->socketPath());
        else
            qunsetenv(kSocketVariable);
        QCOMPARE(runScriptApiCommand(words), exitCode);
        qunsetenv(kSocketVariable);
    }
};

QTEST_MAIN(ScriptApiTest)
#include "tst_script_api.moc"
