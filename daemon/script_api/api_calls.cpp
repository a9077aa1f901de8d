#include "api_calls.h"

#include "api_protocol.h"
#include "app/status/notification_names.h"
#include "daemon/script_log.h"
#include "daemon/session_screen.h"
#include "kit/BKKit.h"
#include "kit/geometry.h"
#include "platform/dispatch/dispatch.h"
#include "platform/notify/notify.h"

#include <QBuffer>
#include <QDir>
#include <QImage>

#include <cmath>
#include <mutex>

namespace brisko::scriptapi {

using daemon::captureSessionScreen;
namespace {

const QString kNoCapture = QStringLiteral("screen capture unavailable");

QJsonObject replyFor(const QString& error) {
    return error.isEmpty() ? okReply() : errorReply(error);
}

QPointF pointArgument(const QJsonObject& request, const char* x, const char* y) {
    return {request.value(x).toDouble(), request.value(y).toDouble()};
}

// Neither way in: say why for both.
QString uinputError(const QString& noDisplay, const UinputInput::Outcome& outcome) {
    if (!outcome.noDevice) return outcome.error;
    return QStringLiteral("%1, and no uinput device (%2)").arg(noDisplay, outcome.error);
}

} // namespace

QPointF pointsToPixels(QPointF points) {
    const double scale = s_screenScale > 0 ? s_screenScale : 1.0;
    return points * scale;
}

ApiCalls::ApiCalls(ScriptApiSettings settings, const std::atomic<bool>& cancel)
    : settings_(std::move(settings)), cancel_(cancel), input_(settings_.display, settings_.xauthority),
      uinput_(cancel) {}

ApiCalls::~ApiCalls() = default;

QJsonObject ApiCalls::handle(const QJsonObject& request) {
    const QString call = request.value("call").toString();
    if (call == u"screenshot") return screenshot(request.value("path").toString());
    if (call == u"color_at") return colorAt(pointsToPixels(pointArgument(request, "x", "y")));
    if (call == u"tap") return replyFor(tap(pointArgument(request, "x", "y")));
    if (call == u"swipe")
        return replyFor(swipe(pointArgument(request, "x1", "y1"), pointArgument(request, "x2", "y2"),
                              int(std::clamp(request.value("ms").toDouble(), 0.0, 1e6))));
    if (call == u"key") return replyFor(key(request.value("name").toString()));
    if (call == u"webview") return webview(request.value("action").toString());
    if (call == u"log") return log(request.value("text").toString());
    return errorReply(QStringLiteral("unknown call"));
}

void ApiCalls::interrupt() {
    uinput_.interrupt();
}

QString ApiCalls::tap(QPointF at) {
    const QString noDisplay = input_.ensureOpen();
    if (noDisplay.isEmpty()) return input_.tap(pointsToPixels(at));
    return uinputError(noDisplay, uinput_.tap(at));
}

QString ApiCalls::swipe(QPointF from, QPointF to, int milliseconds) {
    const QString noDisplay = input_.ensureOpen();
    if (noDisplay.isEmpty())
        return input_.swipe(pointsToPixels(from), pointsToPixels(to), milliseconds, cancel_);
    return uinputError(noDisplay, uinput_.swipe(from, to, milliseconds));
}

QString ApiCalls::key(const QString& name) {
    const QString noDisplay = input_.ensureOpen();
    if (noDisplay.isEmpty()) return input_.key(name);
    return uinputError(noDisplay, uinput_.key(name));
}

QJsonObject ApiCalls::screenshot(const QString& path) {
    if (path.isEmpty()) return errorReply(QStringLiteral("no path"));
    const QImage image = captureSessionScreen({settings_.display, settings_.xauthority});
    if (image.isNull()) return errorReply(kNoCapture);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG")) return errorReply(QStringLiteral("PNG encoding failed"));
    const QString target = QDir(settings_.workingDirectory).absoluteFilePath(path);
    const QString error = writeFileAs(settings_.identity, target, png);
    if (!error.isEmpty()) return errorReply(QStringLiteral("%1: %2").arg(target, error));
    return okReply({{"path", target}, {"width", image.width()}, {"height", image.height()}});
}

QJsonObject ApiCalls::colorAt(QPointF at) {
    const QImage image = captureSessionScreen({settings_.display, settings_.xauthority});
    if (image.isNull()) return errorReply(kNoCapture);
    const QPoint pixel(int(std::floor(at.x())), int(std::floor(at.y())));
    if (!image.valid(pixel)) return errorReply(QStringLiteral("outside the screen"));
    const QColor color = image.pixelColor(pixel);
    return okReply({{"color", color.name(QColor::HexRgb).toUpper()},
                    {"r", color.red()},
                    {"g", color.green()},
                    {"b", color.blue()}});
}

QJsonObject ApiCalls::webview(const QString& action) {
    const char* name = action == u"show"    ? names::kWebViewShow
                       : action == u"close" ? names::kWebViewClose
                                            : nullptr;
    if (!name) return errorReply(QStringLiteral("webview wants show or close"));
    // The notification channel belongs to the main thread.
    dispatchMainAsync([name] { notify::post(QString::fromLatin1(name)); });
    return okReply();
}

QJsonObject ApiCalls::log(const QString& text) {
    if (!log_)
        log_ = std::make_unique<daemon::ScriptLog>(settings_.logPath, settings_.identity.uid,
                                                   settings_.identity.gid);
    // One entry per line, each with its own timestamp, as the script's own output gets.
    for (const QString& line : text.split(u'\n'))
        log_->note(QString(line).remove(u'\r'));
    return okReply();
}

} // namespace brisko::scriptapi
