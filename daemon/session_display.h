#pragma once
// Where the user's screen is: a daemon started with an empty environment must ask logind.

#include <QByteArray>
#include <QHash>
#include <QObject>

#include <sys/types.h>

namespace brisko::daemon {

struct SessionDisplay {
    QByteArray display;    // DISPLAY, empty when unknown
    QByteArray xauthority; // XAUTHORITY, empty when unknown
};

// The graphical session of uid (else any graphical session) from logind; without logind, the
// daemon's own DISPLAY and XAUTHORITY.
SessionDisplay findSessionDisplay(uid_t uid);

// findSessionDisplay's answers kept until logind reports a session coming or going: asking
// logind on every script start costs more than the start itself. Main thread only.
class SessionDisplays : public QObject {
    Q_OBJECT
  public:
    explicit SessionDisplays(QObject* parent = nullptr);
    SessionDisplay forUser(uid_t uid) const;

  signals:
    void changed(); // a session came or went: ask again

  private slots:
    void sessionsChanged();

  private:
    mutable QHash<uid_t, SessionDisplay> known_;
};

} // namespace brisko::daemon
