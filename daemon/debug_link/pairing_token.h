#pragma once
// The debug link's pairing token: 32 random bytes as 64 lowercase hex characters, kept in
// DOCUMENTS/.floatball.token (0600, owned by the owner of DOCUMENTS) while debug mode is on, so
// the device's user can read it and nobody else on the network can guess it.

#include <QByteArray>
#include <QString>

namespace brisko::daemon {

// A fresh token; empty when the kernel has no randomness to give.
QByteArray makePairingToken();

// Writes the token file atomically; false (and no file) when it cannot.
bool writeTokenFile(const QString& documents, const QByteArray& token);
void removeTokenFile(const QString& documents);
QString tokenFilePath(const QString& documents);

// Constant time in the length of `expected`; an empty `expected` matches nothing.
bool tokensMatch(const QByteArray& expected, const QByteArray& presented);

} // namespace brisko::daemon
