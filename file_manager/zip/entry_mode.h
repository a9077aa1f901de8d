#pragma once
// The permission bits a file made from an entry is created with (the process umask still applies).

#include <cstdint>
#include <sys/types.h>

namespace brisko::zip {

inline constexpr mode_t kDefaultFileMode = 0666;

// Entries made on Unix carry their mode in the high half of the external attributes: its
// rwx bits are kept, so executables stay executable. Setuid, setgid and sticky never are, the
// owner can always read and write, and anything else (another host, no mode, a link or a
// device) gets the default.
mode_t entryFileMode(uint16_t versionMadeBy, uint32_t externalAttributes);

} // namespace brisko::zip
