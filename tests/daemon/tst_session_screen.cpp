// The daemon has no Qt screen: capture must still find the session's X display and its size.
#include "daemon/session_screen.h"

#include <QtTest>

using namespace brisko::daemon;

class SessionScreenTest : public QObject {
    Q_OBJECT
  private slots:
    void capturesTheSessionWithoutAQtScreen() {
        const QByteArray display = qgetenv("DISPLAY");
        if (display.isEmpty()) QSKIP("needs the test display");
        qunsetenv("DISPLAY"); // as the daemon starts: the session says where the screen is
        QVERIFY(captureSessionScreen({}).isNull());
        const QImage screen = captureSessionScreen({display, qgetenv("XAUTHORITY")});
        QVERIFY(!screen.isNull());
        QVERIFY(screen.width() > 0 && screen.height() > 0);
    }
};

QTEST_GUILESS_MAIN(SessionScreenTest)
#include "tst_session_screen.moc"
