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
#include <QStringList>
#include <QTimer>

#include <unistd.h>

#include <atomic>
#include <cstdio>

extern char** environ;

using namespace brisko;

namespace {

struct Config {
    QByteArray bus;
    bool silent = false;
    QString recordPath;
    int lifetimeMs = 20000;
};

Config readConfig(const QString& documents) {
    Config config;
    config.recordPath = documents + "/fake_floatball.record";
    QFile file(documents + "/fake_floatball.conf");
    if (!file.open(QIODevice::ReadOnly)) return config;
    for (const QByteArray& line : file.readAll().split('\n')) {
        const int eq = line.indexOf('=');
        if (eq < 0) continue;
        const QByteArray key = line.left(eq).trimmed(), value = line.mid(eq + 1).trimmed();
        if (key == "bus")
            config.bus = value;
        else if (key == "silent")
            config.silent = value == "1";
        else if (key == "record")
            config.recordPath = QString::fromUtf8(value);
        else if (key == "lifetime_ms")
            config.lifetimeMs = value.toInt();
    }
    return config;
}

QJsonArray startEnvironment() {
    QJsonArray env;
    for (char** entry = environ; *entry; ++entry)
        env.append(QString::fromLocal8Bit(*entry));
    return env;
}

QJsonArray startArguments(int argc, char** argv) {
    QJsonArray args;
    for (int i = 0; i < argc; ++i)
        args.append(QString::fromLocal8Bit(argv[i]));
    return args;
}

// Renamed into place, so readers never see half a record; no sync, it is written per ping.
void writeRecord(const QString& path, const QJsonObject& record) {
    const QString partial = path + ".partial";
    QFile file(partial);
    if (!file.open(QIODevice::WriteOnly)) return;
    file.write(QJsonDocument(record).toJson());
    file.close();
    std::rename(QFile::encodeName(partial).constData(), QFile::encodeName(path).constData());
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) return 64;
    // Taken before anything here changes the environment.
    QJsonObject record{{"argv", startArguments(argc, argv)},
                       {"env", startEnvironment()},
                       {"pid", int(getpid())},
                       {"uid", int(getuid())},
                       {"gid", int(getgid())},
                       {"sid", int(getsid(0))},
                       {"pings", 0}};
    const Config config = readConfig(QString::fromLocal8Bit(argv[1]));
    if (!config.bus.isEmpty()) qputenv("DBUS_SYSTEM_BUS_ADDRESS", config.bus);
    QCoreApplication app(argc, argv);

    static std::atomic<int> pings;
    notify::addObserver("com.brisko.floatball.ping", [&config, record] {
        QJsonObject updated = record;
        updated["pings"] = ++pings;
        if (!config.silent) notify::post("com.brisko.floatball.alive");
        writeRecord(config.recordPath, updated);
    });
    notify::waitUntilReady(5000);
    writeRecord(config.recordPath, record);
    QTimer::singleShot(config.lifetimeMs, &app, &QCoreApplication::quit);
    return app.exec();
}
