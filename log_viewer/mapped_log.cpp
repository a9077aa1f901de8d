#include "mapped_log.h"

#include "log_viewer/log_category.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brisko {

namespace {
// Line offsets are 32-bit: a larger log shows its last 4 GiB less a page.
constexpr qint64 kMaxMappedBytes = 0xFFFFFFFFLL - 4096;
} // namespace

struct MappedLog::Descriptor {
    int fd = -1;
    ~Descriptor() {
        if (fd >= 0) ::close(fd);
    }
};

std::shared_ptr<const MappedLog> MappedLog::open(const QString& path) {
    auto descriptor = std::make_shared<Descriptor>();
    descriptor->fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor->fd < 0) {
        qCDebug(lcLogViewer) << "cannot open" << path << strerror(errno);
        return nullptr;
    }
    return map(std::move(descriptor));
}

std::shared_ptr<const MappedLog> MappedLog::remapped() const {
    return map(m_fd);
}

std::shared_ptr<const MappedLog> MappedLog::map(std::shared_ptr<Descriptor> descriptor) {
    struct stat info {};
    if (::fstat(descriptor->fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        qCDebug(lcLogViewer) << "not a regular file";
        return nullptr;
    }
    std::shared_ptr<MappedLog> log(new MappedLog);
    log->m_fd = std::move(descriptor);
    log->m_device = info.st_dev;
    log->m_inode = info.st_ino;
    if (info.st_size == 0) return log;
    const qint64 pageSize = ::sysconf(_SC_PAGESIZE);
    const qint64 skip = info.st_size > kMaxMappedBytes ? (info.st_size - kMaxMappedBytes) : 0;
    const qint64 offset = skip / pageSize * pageSize + (skip % pageSize ? pageSize : 0);
    const qint64 length = info.st_size - offset;
    void* mapped = ::mmap(nullptr, size_t(length), PROT_READ, MAP_SHARED, log->m_fd->fd, offset);
    if (mapped == MAP_FAILED) {
        qCDebug(lcLogViewer) << "mmap failed" << strerror(errno);
        return nullptr;
    }
    log->m_data = static_cast<const char*>(mapped);
    log->m_size = length;
    log->m_mappedLength = length;
    return log;
}

MappedLog::~MappedLog() {
    if (m_data) ::munmap(const_cast<char*>(m_data), size_t(m_mappedLength));
}

} // namespace brisko
