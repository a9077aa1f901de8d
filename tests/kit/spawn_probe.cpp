// spawn_probe PATH [ARGUMENTS...]: spawns PATH as root from a process of its own and prints
// "<pid> <its own session id>".

#include "kit/BKKit.h"

#include <unistd.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 2) return 64;
    QStringList arguments;
    for (int i = 2; i < argc; ++i)
        arguments.append(QString::fromUtf8(argv[i]));
    const int32_t pid = brisko::BKKit::spawnAsRoot(QString::fromUtf8(argv[1]), arguments);
    std::printf("%d %d\n", int(pid), int(getsid(0)));
    return 0;
}
