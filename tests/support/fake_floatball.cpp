// A stand-in for the runner daemon: answers "com.brisko.floatball.ping" with
// "com.brisko.floatball.alive" and records how it was started.
//
// It is started the way the real daemon is, with an empty environment, so it learns everything
// from its first argument, the Documents path DOCS. Before starting it, a test writes
// DOCS/fake_floatball.conf, one key=value per line, every key optional:
//   bus=ADDRESS        the system bus to use (default: the system bus at its default socket)
//   silent=1           observe pings but never answer
//   record=PATH        where to write the record (default: DOCS/fake_floatball.record)
//   lifetime_ms=N      exit after N milliseconds (default 20000), so no test leaves it behind
// The record is one JSON object, replaced atomically: {"argv": [...], "env": ["K=V", ...],
// "pid", "uid", "gid", "sid", "pings"}. It is first written once the pings are observed (its
// appearance means "ready") and again after every ping.

#include "platform/notify/notify.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QTimer>

#include <unistd.h>

#include <atomic>

extern char** environ;

using namespace brisko;

namespace {

// key=value lines; a missing file or line leaves the default.
QHash<QByteArray, QByteArray> readConfig(const QString& documents) {
    QHash<QByteArray, QByteArray> config{{"record", QFile::encodeName(documents + "/fake_floatball.record")},
                                         {"lifetime_ms", "20000"}};
    QFile file(documents + "/fake_floatball.conf");
    if (file.open(QIODevice::ReadOnly))
        for (const QByteArray& line : file.readAll().split('\n'))
            if (const qsizetype eq = line.indexOf('='); eq > 0)
                config.insert(line.left(eq).trimmed(), line.mid(eq + 1).trimmed());
    return config;
}

QJsonArray strings(char** list, int count) {
    QJsonArray array;
    for (int i = 0; count < 0 ? list[i] != nullptr : i < count; ++i)
        array.append(QString::fromLocal8Bit(list[i]));
    return array;
}

// Renamed into place, so readers never see half a record.
void writeRecord(const QString& path, const QJsonObject& record) {
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly)) file.write(QJsonDocument(record).toJson());
    file.commit();
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) return 64;
    // Taken before anything here changes the environment.
    const QJsonObject record{{"argv", strings(argv, argc)},
                             {"env", strings(environ, -1)},
                             {"pid", int(getpid())},
                             {"uid", int(getuid())},
                             {"gid", int(getgid())},
                             {"sid", int(getsid(0))},
                             {"pings", 0}};
    const auto config = readConfig(QString::fromLocal8Bit(argv[1]));
    if (!config.value("bus").isEmpty()) qputenv("DBUS_SYSTEM_BUS_ADDRESS", config.value("bus"));
    const QString recordPath = QFile::decodeName(config.value("record"));
    const bool silent = config.value("silent") == "1";
    QCoreApplication app(argc, argv);

    static std::atomic<int> pings;
    notify::addObserver("com.brisko.floatball.ping", [silent, recordPath, record] {
        QJsonObject updated = record;
        updated["pings"] = ++pings;
        if (!silent) notify::post("com.brisko.floatball.alive");
        writeRecord(recordPath, updated);
    });
    notify::waitUntilReady(5000);
    writeRecord(recordPath, record);
    QTimer::singleShot(config.value("lifetime_ms").toInt(), &app, &QCoreApplication::quit);
    return app.exec();
}
