#include "safe_output.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brisko::zip {
namespace {

constexpr int kDirectoryFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

void closeFd(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
}

// mkdir -p for the destination itself (the user's own path: links in it are followed).
bool makeDestination(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0) return S_ISDIR(st.st_mode);
    for (size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        const std::string prefix = path.substr(0, slash);
        if (!prefix.empty() && ::mkdir(prefix.c_str(), 0777) != 0 && errno != EEXIST) return false;
        if (slash == std::string::npos) break;
    }
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

} // namespace

OutputTree::OutputTree(std::string destination) : destination_(std::move(destination)) {}

OutputTree::~OutputTree() {
    closeFd(cachedFd_);
    closeFd(rootFd_);
}

bool OutputTree::openRoot() {
    if (rootTried_) return rootFd_ >= 0;
    rootTried_ = true;
    if (destination_.empty() || !makeDestination(destination_)) return false;
    rootFd_ = ::open(destination_.c_str(), kDirectoryFlags);
    struct stat st {};
    if (rootFd_ < 0 || ::fstat(rootFd_, &st) != 0) {
        closeFd(rootFd_);
        return false;
    }
    rootDev_ = st.st_dev;
    rootIno_ = st.st_ino;
    return true;
}

bool OutputTree::isInsideDestination(int folderFd) const {
    // Climb ".." from the folder until the destination or the file system's root turns up.
    int current = ::fcntl(folderFd, F_DUPFD_CLOEXEC, 0);
    for (int depth = 0; current >= 0 && depth < PATH_MAX; ++depth) {
        struct stat here {};
        if (::fstat(current, &here) != 0) break;
        if (here.st_dev == rootDev_ && here.st_ino == rootIno_) {
            ::close(current);
            return true;
        }
        const int parent = ::openat(current, "..", kDirectoryFlags);
        struct stat up {};
        if (parent < 0 || ::fstat(parent, &up) != 0 ||
            (up.st_dev == here.st_dev && up.st_ino == here.st_ino)) {
            if (parent >= 0) ::close(parent);
            break;
        }
        ::close(current);
        current = parent;
    }
    if (current >= 0) ::close(current);
    return false;
}

int OutputTree::enter(int parent, std::string_view name) {
    const std::string component(name);
    int fd = ::openat(parent, component.c_str(), kDirectoryFlags | O_NOFOLLOW);
    if (fd < 0 && errno == ENOENT) {
        if (::mkdirat(parent, component.c_str(), 0777) != 0 && errno != EEXIST) return -1;
        fd = ::openat(parent, component.c_str(), kDirectoryFlags | O_NOFOLLOW);
    }
    if (fd >= 0) return fd;
    if (errno != ELOOP && errno != ENOTDIR) return -1;
    struct stat st {};
    if (::fstatat(parent, component.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISLNK(st.st_mode))
        return -1; // a plain file stands where the folder should be
    // A link: follow it once, then judge where it actually led.
    fd = ::openat(parent, component.c_str(), kDirectoryFlags);
    if (fd >= 0 && !isInsideDestination(fd)) closeFd(fd);
    return fd;
}

int OutputTree::openFolder(const std::vector<std::string_view>& folders) {
    if (!openRoot()) return -1;
    if (folders.empty()) return rootFd_;
    std::string key;
    for (const std::string_view folder : folders) {
        key.append(folder);
        key.push_back('/');
    }
    if (cachedFd_ >= 0 && key == cachedKey_) return cachedFd_;
    int current = rootFd_;
    for (const std::string_view folder : folders) {
        const int next = enter(current, folder);
        if (current != rootFd_) ::close(current);
        if (next < 0) return -1;
        current = next;
    }
    closeFd(cachedFd_);
    cachedFd_ = current;
    cachedKey_ = std::move(key);
    return cachedFd_;
}

OutputFile::~OutputFile() {
    discard();
}

bool OutputFile::create(int folderFd, std::string_view name, mode_t mode) {
    discard();
    folderFd_ = folderFd;
    name_.assign(name);
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    fd_ = ::openat(folderFd, name_.c_str(), flags, mode);
    if (fd_ < 0 && errno == EEXIST) {
        // Something already has the name: write beside it and swap on commit.
        static std::atomic<unsigned> counter{0};
        for (int attempt = 0; attempt < 100 && fd_ < 0; ++attempt) {
            char suffix[64];
            std::snprintf(suffix, sizeof suffix, ".bkunzip-%d-%u.tmp", static_cast<int>(::getpid()),
                          counter.fetch_add(1));
            temporaryName_ = std::string(".") + suffix;
            fd_ = ::openat(folderFd, temporaryName_.c_str(), flags, mode);
            if (fd_ < 0 && errno != EEXIST) break;
        }
        if (fd_ < 0) temporaryName_.clear();
    }
    if (fd_ < 0) return false;
    guard_.attach(fd_);
    return true;
}

bool OutputFile::write(const uint8_t* bytes, uint64_t length) {
    if (fd_ < 0) return false;
    while (length > 0) {
        const size_t chunk = static_cast<size_t>(std::min<uint64_t>(length, uint64_t{8} << 20));
        if (!guard_.reserve(chunk)) return false;
        const ssize_t written = ::write(fd_, bytes, chunk);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes += written;
        length -= static_cast<uint64_t>(written);
    }
    return true;
}

bool OutputFile::commit() {
    if (fd_ < 0) return false;
    const bool closed = ::close(fd_) == 0;
    fd_ = -1;
    if (!closed) {
        discard();
        return false;
    }
    if (!temporaryName_.empty()) {
        if (::renameat(folderFd_, temporaryName_.c_str(), folderFd_, name_.c_str()) != 0) {
            discard();
            return false;
        }
        temporaryName_.clear();
    }
    name_.clear();
    return true;
}

void OutputFile::discard() {
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
    }
    if (!name_.empty()) {
        const std::string& victim = temporaryName_.empty() ? name_ : temporaryName_;
        ::unlinkat(folderFd_, victim.c_str(), 0);
    }
    name_.clear();
    temporaryName_.clear();
}

} // namespace brisko::zip
