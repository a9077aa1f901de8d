#pragma once
// Input on the session's X display through XTest, as if from the user's own pointer and keyboard.
// One connection of its own, used from one thread.

#include <QByteArray>
#include <QPointF>
#include <QString>

#include <atomic>

typedef struct _XDisplay Display;

namespace brisko::scriptapi {

class XInput {
  public:
    // display: a DISPLAY value; xauthority: the file holding its cookie (may be empty).
    XInput(QByteArray display, QByteArray xauthority);
    ~XInput();
    XInput(const XInput&) = delete;
    XInput& operator=(const XInput&) = delete;

    // Points are X screen pixels. Each returns an empty text when done, else the reason.
    QString tap(QPointF at);
    // Gives up between steps once cancel is set: the run is ending.
    QString swipe(QPointF from, QPointF to, int milliseconds, const std::atomic<bool>& cancel);
    QString key(const QString& name);
    // Connects when not connected: empty when the display can take input, else the reason.
    QString ensureOpen();

  private:
    void moveTo(QPointF at);

    QByteArray display_, xauthority_;
    Display* connection_ = nullptr;
    bool lost_ = false;
};

} // namespace brisko::scriptapi
