#include "upload_body.h"

#include "daemon/logging.h"
#include "platform/fileio/write_all.h"

#include <cerrno>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace brisko::daemon {

UploadBody::UploadBody() : fd_(memfd_create("upload", MFD_CLOEXEC)) {
    if (fd_ < 0) qCDebug(lcDaemon, "debug link: no memory file for an upload: %s", strerror(errno));
}

UploadBody::~UploadBody() {
    if (mapping_) munmap(mapping_, size_t(size_));
    if (fd_ >= 0) ::close(fd_);
}

bool UploadBody::append(const char* data, qint64 size) {
    if (fd_ < 0 || mapping_ || !fileio::writeAll(fd_, data, size_t(size))) return false;
    size_ += size;
    return true;
}

std::string UploadBody::path() const {
    return "/proc/self/fd/" + std::to_string(fd_);
}

QByteArray UploadBody::bytes() const {
    if (size_ == 0) return {};
    if (!mapping_) {
        void* mapped = mmap(nullptr, size_t(size_), PROT_READ, MAP_SHARED, fd_, 0);
        if (mapped == MAP_FAILED) return {};
        mapping_ = mapped;
    }
    return QByteArray::fromRawData(static_cast<const char*>(mapping_), qsizetype(size_));
}

} // namespace brisko::daemon
