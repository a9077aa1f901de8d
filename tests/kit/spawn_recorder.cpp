// Started by the spawn tests with arbitrary arguments and no environment, so it cannot be told
// where to write: it records to /tmp/brisko-spawn-record.PID, PID being what the spawn returned.
// The record is one JSON object, written atomically.

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <grp.h>
#include <unistd.h>

extern char** environ;

namespace {

QJsonArray strings(char** list, int count) {
    QJsonArray array;
    for (int i = 0; count < 0 ? list[i] != nullptr : i < count; ++i)
        array.append(QString::fromUtf8(list[i]));
    return array;
}

QJsonArray supplementaryGroups() {
    gid_t groups[256];
    const int count = getgroups(256, groups);
    QJsonArray array;
    for (int i = 0; i < count; ++i)
        array.append(int(groups[i]));
    return array;
}

} // namespace

int main(int argc, char** argv) {
    const QJsonObject record{
        {"argv", strings(argv, argc)}, {"env", strings(environ, -1)},     {"uid", int(getuid())},
        {"gid", int(getgid())},        {"groups", supplementaryGroups()}, {"sid", int(getsid(0))}};
    QSaveFile file(QStringLiteral("/tmp/brisko-spawn-record.%1").arg(getpid()));
    if (!file.open(QIODevice::WriteOnly)) return 1;
    file.write(QJsonDocument(record).toJson());
    return file.commit() ? 0 : 1;
}
