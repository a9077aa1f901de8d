#include "entry_point.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <sys/stat.h>

namespace brisko::daemon {
namespace {

struct ScriptKind {
    const char* file;
    const char* interpreter;
};
constexpr ScriptKind kScriptKinds[] = {
    {"main.lua", "lua5.4"}, {"main.py", "python3"}, {"main.sh", "sh"}, {"main.js", "node"}};

// Executable by its owner, whoever runs the daemon: root would see any x bit as enough.
bool isExecutableFile(const QString& path) {
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0) return false;
    return S_ISREG(st.st_mode) && (st.st_mode & S_IXUSR);
}

} // namespace

QStringList executableSearchPath() {
    const QString path = qEnvironmentVariable("PATH");
    if (path.isEmpty())
        return {"/usr/local/sbin", "/usr/local/bin", "/usr/sbin", "/usr/bin", "/sbin", "/bin"};
    return path.split(u':', Qt::SkipEmptyParts);
}

EntryPoint findEntryPoint(const QString& documents, const QStringList& searchPath) {
    const QDir app(documents + QStringLiteral("/app"));
    const QString main = app.filePath(QStringLiteral("main"));
    if (QFileInfo(main).isFile()) {
        if (!isExecutableFile(main)) return {{}, {}, {}, QStringLiteral("脚本入口 app/main 没有执行权限")};
        return {main, {}, QStringLiteral("main"), {}};
    }
    for (const ScriptKind& kind : kScriptKinds) {
        const QString file = QString::fromLatin1(kind.file);
        if (!QFileInfo(app.filePath(file)).isFile()) continue;
        const QString interpreter = QString::fromLatin1(kind.interpreter);
        const QString program = QStandardPaths::findExecutable(interpreter, searchPath);
        if (program.isEmpty())
            return {{}, {}, {}, QStringLiteral("未找到解释器 %1，无法运行 app/%2").arg(interpreter, file)};
        return {program, {file}, interpreter + u' ' + file, {}};
    }
    return {{}, {}, {}, QStringLiteral("未找到脚本入口 app/main")};
}

} // namespace brisko::daemon
