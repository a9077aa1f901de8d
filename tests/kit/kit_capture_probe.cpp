// Captures twice, the second time after a line on standard input, and reports each result;
// lets a test change the display between the two.
#include "kit/BKKit.h"
#include "kit/geometry_testing.h"

#include <cstdio>
#include <string>

using namespace brisko;

// "WxH" of a frame, or "null" when there is none and the outputs were left alone.
static std::string capture() {
    int32_t width = -7, height = -7, stride = -7;
    if (BKKit::captureScreenRaw(&width, &height, &stride))
        return std::to_string(width) + "x" + std::to_string(height);
    return width == -7 && height == -7 && stride == -7 ? "null" : "null, outputs written";
}

int main() {
    _bkSetCaptureBaseForTesting(QSizeF(64, 48), false);
    std::printf("%s\n", capture().c_str());
    std::fflush(stdout);
    char line[16];
    if (!std::fgets(line, sizeof line, stdin)) return 2;
    std::printf("%s\n", capture().c_str());
    std::printf("%s\n", BKKit::captureScreen().isNull() ? "null" : "ok");
    return 0;
}
