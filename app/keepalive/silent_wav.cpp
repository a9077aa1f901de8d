#include "silent_wav.h"

#include <QtEndian>

#include <cstring>

namespace brisko {
namespace {

constexpr quint32 kSampleRate = 16000;
constexpr quint16 kChannels = 1;
constexpr quint16 kBitsPerSample = 16;
constexpr quint16 kBlockAlign = kChannels * kBitsPerSample / 8;
constexpr quint32 kDataSize = 2 * kSampleRate * kBlockAlign;
constexpr int kHeaderSize = 44;

void putTag(QByteArray& file, int offset, const char (&tag)[5]) {
    std::memcpy(file.data() + offset, tag, 4);
}
void put16(QByteArray& file, int offset, quint16 value) {
    qToLittleEndian(value, file.data() + offset);
}
void put32(QByteArray& file, int offset, quint32 value) {
    qToLittleEndian(value, file.data() + offset);
}

} // namespace

QByteArray BKCreateSilentWAVData() {
    QByteArray file(kHeaderSize + kDataSize, '\0');
    putTag(file, 0, "RIFF");
    put32(file, 4, quint32(file.size() - 8));
    putTag(file, 8, "WAVE");
    putTag(file, 12, "fmt ");
    put32(file, 16, 16);
    put16(file, 20, 1); // linear PCM
    put16(file, 22, kChannels);
    put32(file, 24, kSampleRate);
    put32(file, 28, kSampleRate * kBlockAlign);
    put16(file, 32, kBlockAlign);
    put16(file, 34, kBitsPerSample);
    putTag(file, 36, "data");
    put32(file, 40, kDataSize);
    return file;
}

} // namespace brisko
