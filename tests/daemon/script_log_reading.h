#pragma once
// Reading what a script left in its log, and whether one of its processes still runs.

#include <QFile>
#include <QList>
#include <QString>

namespace brisko::testing {

// Script lines of the log, timestamps removed.
inline QList<QByteArray> logLines(const QString& path) {
    QFile file(path);
    QList<QByteArray> out;
    if (!file.open(QIODevice::ReadOnly)) return out;
    for (const QByteArray& line : file.readAll().split('\n'))
        if (!line.isEmpty()) out << line.mid(line.indexOf("] ") + 2);
    return out;
}

// How many of those lines are plain numbers (the counting scripts print one a line).
inline int numberLines(const QString& path) {
    int n = 0;
    for (const QByteArray& line : logLines(path)) {
        bool ok = false;
        line.toInt(&ok);
        n += ok;
    }
    return n;
}

// Gone or a zombie waiting for a parent: either way it runs no more.
inline bool isRunning(qint64 pid) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly)) return false;
    const QByteArray text = stat.readAll();
    return text.mid(text.lastIndexOf(')') + 2, 1) != "Z";
}

} // namespace brisko::testing
