#pragma once
// Where the user's screen is: a daemon started with an empty environment must ask logind.

#include <QByteArray>

#include <sys/types.h>

namespace brisko::daemon {

struct SessionDisplay {
    QByteArray display;    // DISPLAY, empty when unknown
    QByteArray xauthority; // XAUTHORITY, empty when unknown
};

// The graphical session of uid (else any graphical session) from logind; without logind, the
// daemon's own DISPLAY and XAUTHORITY.
SessionDisplay findSessionDisplay(uid_t uid);

} // namespace brisko::daemon
