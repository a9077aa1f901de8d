#pragma once
// A read-only device that plays a block of samples over and over.

#include <QByteArray>
#include <QIODevice>

namespace brisko::audio {

class LoopDevice : public QIODevice {
    Q_OBJECT

  public:
    // loops: how many times to repeat after the first pass; negative repeats without end.
    LoopDevice(QByteArray samples, int loops, QObject* parent = nullptr);

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override;

  protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char*, qint64) override { return -1; }

  private:
    bool exhausted() const;

    QByteArray samples_;
    int loops_;
    int passesDone_ = 0;
    qsizetype position_ = 0;
};

} // namespace brisko::audio
