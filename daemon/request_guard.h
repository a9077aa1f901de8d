#pragma once
// Who may use a loopback HTTP endpoint: not a page on another site (its browser says so), and not
// a name that merely resolves to us (DNS rebinding shows in Host).

#include <QByteArray>
#include <QList>
#include <QPair>

namespace brisko::daemon {

using HeaderList = QList<QPair<QByteArray, QByteArray>>;

bool isLoopbackRequestAllowed(const HeaderList& headers, quint16 port);

enum class RequestHead { Incomplete, Complete, Malformed };

// Judges the bytes of a request received so far, up to the end of its header block: whatever can
// no longer become an HTTP/1.x request line and headers is Malformed at once, so garbage need not
// wait for the idle timer. Says nothing about size; the caller caps that.
RequestHead screenRequestHead(QByteArrayView received);

} // namespace brisko::daemon
