#pragma once
// A read-only memory mapping of a log file. Mappings are shared: a search running on a worker
// keeps the one it started with alive while the screen moves on to a newer, longer one.

#include <QString>

#include <cstdint>
#include <memory>
#include <sys/types.h>

namespace brisko {

class MappedLog {
  public:
    // The file at path mapped whole; null when it cannot be opened. An empty file gives an
    // empty mapping, not null.
    static std::shared_ptr<const MappedLog> open(const QString& path);
    ~MappedLog();
    MappedLog(const MappedLog&) = delete;
    MappedLog& operator=(const MappedLog&) = delete;

    // The same open file mapped again at its current size (it only grows between the two).
    std::shared_ptr<const MappedLog> remapped() const;

    const char* data() const { return m_data; }
    qint64 size() const { return m_size; }
    // Identity of the file, to tell a replaced log from a grown one.
    dev_t device() const { return m_device; }
    ino_t inode() const { return m_inode; }

  private:
    struct Descriptor;
    MappedLog() = default;
    static std::shared_ptr<const MappedLog> map(std::shared_ptr<Descriptor> fd);

    std::shared_ptr<Descriptor> m_fd;
    const char* m_data = nullptr;
    qint64 m_size = 0;
    qint64 m_mappedLength = 0;
    dev_t m_device = 0;
    ino_t m_inode = 0;
};

} // namespace brisko
