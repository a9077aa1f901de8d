#pragma once
// Who may use a loopback HTTP endpoint: not a page on another site (its browser says so), and not
// a name that merely resolves to us (DNS rebinding shows in Host).

#include <QByteArray>
#include <QList>
#include <QPair>

namespace brisko::daemon {

using HeaderList = QList<QPair<QByteArray, QByteArray>>;

bool isLoopbackRequestAllowed(const HeaderList& headers, quint16 port);

} // namespace brisko::daemon
