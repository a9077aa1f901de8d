#include "entry_mode.h"

#include <sys/stat.h>

namespace brisko::zip {
namespace {
constexpr uint16_t kUnixHost = 3;
} // namespace

mode_t entryFileMode(uint16_t versionMadeBy, uint32_t externalAttributes) {
    const mode_t mode = externalAttributes >> 16;
    if (versionMadeBy >> 8 != kUnixHost || mode == 0) return kDefaultFileMode;
    // Some archivers store the permission bits without a type.
    if ((mode & S_IFMT) != S_IFREG && (mode & S_IFMT) != 0) return kDefaultFileMode;
    return (mode & 0777) | S_IRUSR | S_IWUSR;
}

} // namespace brisko::zip
