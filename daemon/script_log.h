#pragma once
// DOCUMENTS/script.log as one run writes it: timestamped lines, begin and end lines, UTF-8 only.
// Used from one thread at a time; it follows the file when the log viewer replaces it and
// rotates it to script.log.1 at a size cap.

#include <QByteArray>
#include <QString>

#include <sys/types.h>

namespace brisko::daemon {

inline constexpr qint64 kLogRotationBytes = 16 * 1024 * 1024;

class ScriptLog {
  public:
    // owner/group: who a newly created log belongs to (only applied when running as root).
    ScriptLog(QString path, uid_t owner, gid_t group, qint64 rotateAt = kLogRotationBytes);
    ~ScriptLog();
    ScriptLog(const ScriptLog&) = delete;
    ScriptLog& operator=(const ScriptLog&) = delete;

    // Output of the script as it comes; a line split across calls is joined.
    void append(const char* data, qsizetype size);
    // A line of our own, after whatever partial line the script left.
    void note(const QString& text);

  private:
    void appendLine(const QByteArray& stamp, const char* line, qsizetype size, bool ascii);
    void flushPartial(const QByteArray& stamp);
    void writeOut(const QByteArray& text);
    bool ensureOpen();
    void open();

    QString path_;
    QByteArray encodedPath_;
    uid_t owner_;
    gid_t group_;
    qint64 rotateAt_;
    int fd_ = -1;
    dev_t device_ = 0;
    ino_t inode_ = 0;
    qint64 size_ = 0;
    QByteArray partial_;
    QByteArray out_; // kept between chunks so its capacity is reused
};

// Bytes that are not UTF-8 become U+FFFD, so the log always decodes.
QByteArray validUtf8(const char* data, qsizetype size);
void appendValidUtf8(QByteArray& out, const char* data, qsizetype size);
// "[YYYY-MM-DD hh:mm:ss.zzz] " for now, local time.
QByteArray logTimestamp();

} // namespace brisko::daemon
