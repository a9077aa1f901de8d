#pragma once
// A private X server for capture tests, so no other test's windows appear in the frames and a
// test may take the server away. The server picks a free display number and prints it.
// Include it after Qt: it brings in Xlib, whose macros clash with Qt's names.

#include <QFile>
#include <QProcess>
#include <QRect>
#include <QString>

#include <X11/Xlib.h>

class PrivateXvfb {
  public:
    PrivateXvfb(const QString& screen, bool shm)
        : PrivateXvfb("Xvfb", {"-screen", "0", screen, "-nolisten", "tcp", "-ac",
                               shm ? "+extension" : "-extension", "MIT-SHM"}) {}
    // Any server that takes -displayfd; a nested one opens its window on parentDisplay.
    PrivateXvfb(const QString& program, const QStringList& arguments, const QString& parentDisplay = {}) {
        if (!parentDisplay.isEmpty()) {
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert("DISPLAY", parentDisplay);
            m_server.setProcessEnvironment(env);
        }
        m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_server.start(program, QStringList{"-displayfd", "1"} + arguments);
        while (!m_server.canReadLine() && m_server.waitForReadyRead(10000)) {
        }
        if (m_server.canReadLine()) m_display = ":" + QString::fromLatin1(m_server.readLine()).trimmed();
    }
    ~PrivateXvfb() {
        m_server.terminate();
        m_server.waitForFinished();
    }

    QString display() const { return m_display; }
    // Takes the server away at once, as a crash would, then clears what it leaves behind.
    void kill() {
        m_server.kill();
        m_server.waitForFinished();
        // Socket first: once the lock is gone another server may take the number, and its fresh
        // socket must not be the one removed.
        QFile::remove(QStringLiteral("/tmp/.X11-unix/X%1").arg(m_display.mid(1)));
        QFile::remove(QStringLiteral("/tmp/.X%1-lock").arg(m_display.mid(1)));
    }

  private:
    QProcess m_server;
    QString m_display;
};

inline void fillRoot(Display* display, const QRect& rect, unsigned long colour) {
    GC gc = XCreateGC(display, DefaultRootWindow(display), 0, nullptr);
    XSetForeground(display, gc, colour);
    XFillRectangle(display, DefaultRootWindow(display), gc, rect.x(), rect.y(), unsigned(rect.width()),
                   unsigned(rect.height()));
    XFreeGC(display, gc);
    XSync(display, False);
}

// main() for a test that needs a server of its own before the application connects to one.
#define PRIVATE_XVFB_TEST_MAIN(TestObject, screen)                                                           \
    int main(int argc, char** argv) {                                                                        \
        PrivateXvfb server(QStringLiteral(screen), true);                                                    \
        if (server.display().isEmpty()) return 1;                                                            \
        qputenv("DISPLAY", server.display().toLocal8Bit());                                                  \
        qputenv("QT_QPA_PLATFORM", "xcb");                                                                   \
        QGuiApplication app(argc, argv);                                                                     \
        TestObject test;                                                                                     \
        return QTest::qExec(&test, argc, argv);                                                              \
    }
