// Captures twice, the second time after a line on standard input, and reports each result;
// lets a test change the display between the two.
#include "kit/BKKit.h"
#include "kit/geometry_testing.h"

#include <cstdio>

using namespace brisko;

static const char* capture() {
    int32_t width = -7, height = -7, stride = -7;
    if (BKKit::captureScreenRaw(&width, &height, &stride))
        return width == 64 && height == 48 ? "ok" : "wrong size";
    return width == -7 && height == -7 && stride == -7 ? "null" : "null, outputs written";
}

int main() {
    _bkSetCaptureBaseForTesting(QSizeF(64, 48), false);
    std::printf("%s\n", capture());
    std::fflush(stdout);
    char line[16];
    if (!std::fgets(line, sizeof line, stdin)) return 2;
    std::printf("%s\n", capture());
    std::printf("%s\n", BKKit::captureScreen().isNull() ? "null" : "ok");
    return 0;
}
