#pragma once
// An upload's body, written to a memory file as it arrives: the socket never holds the whole
// body, nothing is copied a second time, and the extractor reads the file by path. Nothing is
// left behind if the daemon dies mid-way.

#include <QByteArray>

#include <string>

namespace brisko::daemon {

class UploadBody {
  public:
    UploadBody();
    ~UploadBody();
    UploadBody(const UploadBody&) = delete;
    UploadBody& operator=(const UploadBody&) = delete;

    bool isValid() const { return fd_ >= 0; }
    bool append(const char* data, qint64 size);
    qint64 size() const { return size_; }
    // A path the extractor can open while this object lives.
    std::string path() const;
    // The whole body, mapped; valid while this object lives. Empty when it cannot be mapped.
    QByteArray bytes() const;

  private:
    int fd_;
    qint64 size_ = 0;
    mutable void* mapping_ = nullptr;
};

} // namespace brisko::daemon
