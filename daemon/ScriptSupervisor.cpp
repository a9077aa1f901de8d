#include "ScriptSupervisor.h"

#include "daemon/entry_point.h"
#include "daemon/logging.h"
#include "daemon/script_api/script_api_hook.h"
#include "daemon/session_display.h"
#include "platform/dispatch/dispatch.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QPointer>

#include <csignal>
#include <unistd.h>

namespace brisko::daemon {
namespace {

const QString kAlreadyRunning = QStringLiteral("脚本已在运行");
const QString kNotRunning = QStringLiteral("脚本未在运行");

QList<QByteArray> scriptEnvironment(const QString& documents, const LaunchPlan& plan,
                                    const SessionDisplay& display) {
    // Our own folder last on the PATH, so scripts find brisko-cli for the script API.
    const QStringList path = executableSearchPath() << QCoreApplication::applicationDirPath();
    QList<QByteArray> env{"PATH=" + QFile::encodeName(path.join(u':')),
                          "HOME=" + plan.home,
                          "USER=" + plan.userName,
                          "LOGNAME=" + plan.userName,
                          "LANG=C.UTF-8",
                          "PYTHONUNBUFFERED=1", // print() reaches the log as it happens
                          "BRISKO_DOCUMENTS=" + QFile::encodeName(documents)};
    if (!display.display.isEmpty()) env << "DISPLAY=" + display.display;
    if (!display.xauthority.isEmpty()) env << "XAUTHORITY=" + display.xauthority;
    const QByteArray runtimeDir = "/run/user/" + QByteArray::number(plan.uid);
    if (QFile::exists(QString::fromLatin1(runtimeDir))) env << "XDG_RUNTIME_DIR=" + runtimeDir;
    return env;
}

} // namespace

ScriptSupervisor::ScriptSupervisor(QString documents, QObject* parent)
    : QObject(parent), documents_(std::move(documents)) {}

ScriptSupervisor::~ScriptSupervisor() = default; // the run's destructor kills what is left

LaunchPlan ScriptSupervisor::launchSpecFor(const EntryPoint& entry, QString* error) const {
    LaunchPlan plan;
    if (!fillOwnerIdentity(documents_, &plan)) {
        *error = QStringLiteral("无法读取文档目录");
        return plan;
    }
    plan.program = QFile::encodeName(entry.program);
    plan.arguments << plan.program;
    for (const QString& argument : entry.arguments)
        plan.arguments << QFile::encodeName(argument);
    plan.environment = scriptEnvironment(documents_, plan, displays_.forUser(plan.uid));
    plan.workingDirectory = QFile::encodeName(documents_ + QStringLiteral("/app"));
    return plan;
}

QString ScriptSupervisor::start() {
    if (state_ != ScriptState::Stopped) return stopping_ ? QStringLiteral("脚本正在停止") : kAlreadyRunning;
    const EntryPoint entry = findEntryPoint(documents_, executableSearchPath());
    if (!entry.error.isEmpty()) return entry.error;
    QString error;
    LaunchPlan plan = launchSpecFor(entry, &error);
    if (!error.isEmpty()) return error;
    const QString logPath = QDir(documents_).filePath(QStringLiteral("script.log"));
    if ((api_ = scriptapi::startScriptApi(plan, logPath))) plan.environment << api_->environmentEntry();
    auto log = std::make_unique<ScriptLog>(logPath, plan.uid, plan.gid, rotateAt_);
    const LaunchedScript launched = launchScript(plan);
    if (launched.pid < 0) {
        api_.reset();
        log->note(QStringLiteral("==== 脚本无法启动: %1 ====").arg(launched.error));
        return QStringLiteral("脚本无法启动: %1").arg(launched.error);
    }
    log->note(QStringLiteral("==== 脚本开始 (pid %1，%2) ====").arg(launched.pid).arg(entry.description));
    const quint64 id = ++runId_;
    QPointer self(this);
    run_ = std::make_unique<ScriptRun>(launched, std::move(log), [self, id](int) {
        QMetaObject::invokeMethod(
            self.get(),
            [self, id] {
                if (self) self->onRunExited(id);
            },
            Qt::QueuedConnection);
    });
    setState(ScriptState::Running);
    return {};
}

QString ScriptSupervisor::stop() {
    if (state_ == ScriptState::Stopped) return kNotRunning;
    if (stopping_) return {};
    stopping_ = true;
    run_->signalGroup(SIGTERM);
    run_->signalGroup(SIGCONT); // a paused script must wake to see the TERM
    const quint64 id = runId_;
    dispatchMainAfter(kStopGraceSeconds, [self = QPointer(this), id] {
        if (self && self->run_ && self->runId_ == id) self->run_->signalGroup(SIGKILL);
    });
    return {};
}

QString ScriptSupervisor::pause() {
    if (state_ == ScriptState::Stopped || stopping_) return kNotRunning;
    if (state_ == ScriptState::Paused) return QStringLiteral("脚本已暂停");
    run_->signalGroup(SIGSTOP);
    setState(ScriptState::Paused);
    return {};
}

QString ScriptSupervisor::resume() {
    if (state_ == ScriptState::Stopped || stopping_) return kNotRunning;
    if (state_ != ScriptState::Paused) return QStringLiteral("脚本未暂停");
    run_->signalGroup(SIGCONT);
    setState(ScriptState::Running);
    return {};
}

void ScriptSupervisor::onRunExited(quint64 runId) {
    if (runId != runId_ || !run_) return;
    run_.reset(); // the thread has finished its last act; this joins it
    api_.reset();
    stopping_ = false;
    setState(ScriptState::Stopped);
}

void ScriptSupervisor::setState(ScriptState state) {
    if (state == state_) return;
    state_ = state;
    emit stateChanged(state);
}

} // namespace brisko::daemon
