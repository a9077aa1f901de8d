#pragma once

#include <QImage>
#include <QString>

namespace brisko::daemon {

// The screen of the session of whoever owns DOCUMENTS, through the kit; null when unreachable.
QImage captureSessionScreen(const QString& documents);

} // namespace brisko::daemon
