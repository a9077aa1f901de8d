#pragma once
// X key names (what `key NAME` takes on an X display) → Linux input key codes, for input
// that does not go through X. A letter names its key in either case, as XTest presses it.

#include <QList>
#include <QString>

#include <cstdint>
#include <optional>

namespace brisko::scriptapi {

std::optional<uint16_t> linuxKeyCode(const QString& name);
// Every code the table can produce: the keys a virtual device must declare.
QList<uint16_t> allLinuxKeyCodes();

} // namespace brisko::scriptapi
