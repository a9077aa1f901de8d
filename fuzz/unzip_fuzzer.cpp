// libFuzzer target for BKUnzipFile: each input is an archive, extracted into a fresh folder.
// Beside the destination lie a folder that links inside the destination point to, and the
// process's working directory; the target aborts when anything in either changes, when a
// planted link's target is written, or when an output is not a plain file or folder.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <string>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

#include "file_manager/zip/unzip.h"

namespace {

std::string g_sandbox; // holds archive.zip, dest/, outside/, cwd/
std::string g_archive, g_dest, g_outside, g_cwd;
brisko::UnzipLimits g_limits;
const char kVictim[] = "victim contents\n";

[[noreturn]] void fail(const char* what, const std::string& path) {
    std::fprintf(stderr, "unzip_fuzzer: %s: %s\n", what, path.c_str());
    std::abort();
}

int removeOne(const char* path, const struct stat*, int, struct FTW*) {
    return ::remove(path);
}

void removeTree(const std::string& path) {
    ::nftw(path.c_str(), removeOne, 16, FTW_DEPTH | FTW_PHYS);
}

void writeFile(const std::string& path, const void* bytes, size_t length) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) fail("cannot create", path);
    const auto* p = static_cast<const uint8_t*>(bytes);
    while (length > 0) {
        const ssize_t n = ::write(fd, p, length);
        if (n <= 0) fail("cannot write", path);
        p += n;
        length -= static_cast<size_t>(n);
    }
    ::close(fd);
}

std::vector<std::string> listFolder(const std::string& path) {
    std::vector<std::string> names;
    DIR* dir = ::opendir(path.c_str());
    if (!dir) fail("cannot list", path);
    while (const dirent* e = ::readdir(dir))
        if (std::strcmp(e->d_name, ".") && std::strcmp(e->d_name, "..")) names.emplace_back(e->d_name);
    ::closedir(dir);
    return names;
}

// Every output under dest must be a plain file or folder, except the links planted before.
int checkOutput(const char* path, const struct stat* st, int type, struct FTW*) {
    const std::string p(path);
    if (p == g_dest + "/up" || p == g_dest + "/victimlink" || p == g_dest + "/inside") return 0;
    if (type == FTW_SL || (!S_ISREG(st->st_mode) && !S_ISDIR(st->st_mode)))
        fail("output that is not a plain file or folder", p);
    return 0;
}

void prepare() {
    removeTree(g_dest);
    if (::mkdir(g_dest.c_str(), 0755) != 0) fail("cannot create", g_dest);
    // Links an entry could try to write through: out of the destination, and within it.
    if (::symlink("../outside", (g_dest + "/up").c_str()) != 0 ||
        ::symlink("../outside/victim", (g_dest + "/victimlink").c_str()) != 0 ||
        ::mkdir((g_dest + "/real").c_str(), 0755) != 0 ||
        ::symlink("real", (g_dest + "/inside").c_str()) != 0)
        fail("cannot plant links in", g_dest);
}

void verify() {
    const auto sandbox = listFolder(g_sandbox);
    if (sandbox.size() != 4) fail("something appeared beside the destination", g_sandbox);
    const auto outside = listFolder(g_outside);
    if (outside.size() != 1 || outside[0] != "victim")
        fail("something appeared in the folder a link points to", g_outside);
    struct stat st {};
    char buffer[64] = {};
    const int fd = ::open((g_outside + "/victim").c_str(), O_RDONLY | O_NOFOLLOW);
    if (fd < 0 || ::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) ||
        ::read(fd, buffer, sizeof buffer) != static_cast<ssize_t>(sizeof kVictim - 1) ||
        std::memcmp(buffer, kVictim, sizeof kVictim - 1) != 0)
        fail("the file a link points to changed", g_outside + "/victim");
    ::close(fd);
    if (!listFolder(g_cwd).empty()) fail("something was written relative to the working directory", g_cwd);
    ::nftw(g_dest.c_str(), checkOutput, 16, FTW_PHYS);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const char* base = ::access("/dev/shm", W_OK) == 0
                           ? "/dev/shm"
                           : (std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp");
    std::string pattern = std::string(base) + "/unzip-fuzz-XXXXXX";
    if (!::mkdtemp(pattern.data())) fail("cannot create a sandbox in", base);
    g_sandbox = pattern;
    g_dest = g_sandbox + "/dest";
    g_outside = g_sandbox + "/outside";
    g_cwd = g_sandbox + "/cwd";
    g_archive = g_sandbox + "/archive.zip";
    if (::mkdir(g_outside.c_str(), 0755) != 0 || ::mkdir(g_cwd.c_str(), 0755) != 0 ||
        ::chdir(g_cwd.c_str()) != 0)
        fail("cannot prepare", g_sandbox);
    writeFile(g_outside + "/victim", kVictim, sizeof kVictim - 1);
    // Let each input write at most 32 MiB: the floor sits that far below today's free space.
    struct statvfs vfs {};
    if (::statvfs(g_sandbox.c_str(), &vfs) != 0) fail("cannot measure", g_sandbox);
    const uint64_t available = uint64_t{vfs.f_bavail} * vfs.f_frsize;
    g_limits.minFreeBytes = available > (uint64_t{32} << 20) ? available - (uint64_t{32} << 20) : 0;
    std::atexit([] { removeTree(g_sandbox); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    writeFile(g_archive, data, size);
    prepare();
    brisko::BKUnzipFile(g_archive, g_dest, g_limits);
    verify();
    return 0;
}
