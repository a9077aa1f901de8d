#pragma once
// Follows DOCUMENTS/script.log by reading the file (inotify on its folder), so it needs nothing
// from the writer. A replaced file (cleared, or rotated to script.log.1) is read to its end and
// then reopened by path; a file cut short in place is read again from its start.

#include <QByteArray>
#include <QObject>
#include <QString>

#include <sys/types.h>

class QSocketNotifier;

namespace brisko::daemon {

class LogFollower : public QObject {
    Q_OBJECT
  public:
    // Follows from the log's current end.
    explicit LogFollower(QString path, QObject* parent = nullptr);
    ~LogFollower() override;

    QString path() const { return path_; }
    // Where the bytes delivered so far end, in the file now followed.
    qint64 position() const { return offset_; }
    // Reads what has been written and not yet reported, without waiting for the notification.
    void catchUp();

  signals:
    // Raw bytes as they were appended.
    void appended(const QByteArray& bytes);
    // Whole lines without their newline, for clients that want messages.
    void lines(const QList<QByteArray>& lines);

  private:
    void onNotified();
    void readToEnd();
    void reopenIfReplaced();
    bool openFile();
    void deliver(const QByteArray& bytes);

    QString path_;
    QByteArray encodedPath_;
    int inotify_ = -1;
    QSocketNotifier* notifier_ = nullptr;
    int fd_ = -1;
    dev_t device_ = 0;
    ino_t inode_ = 0;
    qint64 offset_ = 0;
    QByteArray partial_;
};

} // namespace brisko::daemon
