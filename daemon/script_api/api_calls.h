#pragma once
// What each script API call does. Runs on the server's thread, one call at a time.

#include "daemon/script_api/uinput/uinput_input.h"
#include "daemon/script_api/write_as_user.h"
#include "daemon/script_api/x_input.h"

#include <QJsonObject>
#include <QPointF>

#include <memory>

namespace brisko::daemon {
class ScriptLog;
}

namespace brisko::scriptapi {

struct ScriptApiSettings {
    ScriptIdentity identity;
    QString workingDirectory; // relative paths the script names start here
    QByteArray display, xauthority;
    QString logPath;
};

class ApiCalls {
  public:
    // cancel: set when the run ends, so a long call gives up early.
    ApiCalls(ScriptApiSettings settings, const std::atomic<bool>& cancel);
    ~ApiCalls();

    // A request that has passed validateRequest → its reply.
    QJsonObject handle(const QJsonObject& request);
    // From any thread, once cancel is set: a call waiting on input gives up now.
    void interrupt();

  private:
    // Points are logical. XTest when the display can be reached, else uinput.
    QString tap(QPointF at);
    QString swipe(QPointF from, QPointF to, int milliseconds);
    QString key(const QString& name);
    QJsonObject screenshot(const QString& path);
    QJsonObject colorAt(QPointF at);
    QJsonObject webview(const QString& action);
    QJsonObject log(const QString& text);

    ScriptApiSettings settings_;
    const std::atomic<bool>& cancel_;
    XInput input_;
    UinputInput uinput_;
    std::unique_ptr<daemon::ScriptLog> log_;
};

// Logical screen points → pixels of the screen as captured and as X addresses it.
QPointF pointsToPixels(QPointF points);

} // namespace brisko::scriptapi
