#include "wav.h"

#include <QtEndian>

namespace brisko::audio {
namespace {

constexpr qsizetype kRiffHeaderSize = 12;
constexpr qsizetype kChunkHeaderSize = 8;
constexpr quint16 kLinearPcm = 1;

quint16 u16At(const QByteArray& data, qsizetype offset) {
    return qFromLittleEndian<quint16>(data.constData() + offset);
}

quint32 u32At(const QByteArray& data, qsizetype offset) {
    return qFromLittleEndian<quint32>(data.constData() + offset);
}

QAudioFormat::SampleFormat sampleFormatFor(quint16 bitsPerSample) {
    switch (bitsPerSample) {
    case 8:
        return QAudioFormat::UInt8;
    case 16:
        return QAudioFormat::Int16;
    case 32:
        return QAudioFormat::Int32;
    default:
        return QAudioFormat::Unknown;
    }
}

std::optional<QAudioFormat> readFormatChunk(const QByteArray& file, qsizetype body, quint32 size) {
    if (size < 16) return std::nullopt;
    const quint16 encoding = u16At(file, body);
    const quint16 channels = u16At(file, body + 2);
    const quint32 rate = u32At(file, body + 4);
    const auto sampleFormat = sampleFormatFor(u16At(file, body + 14));
    if (encoding != kLinearPcm || channels == 0 || rate == 0 || rate > 768000 ||
        sampleFormat == QAudioFormat::Unknown)
        return std::nullopt;
    QAudioFormat format;
    format.setSampleRate(int(rate));
    format.setChannelCount(channels);
    format.setSampleFormat(sampleFormat);
    return format;
}

} // namespace

std::optional<PcmSound> readWav(const QByteArray& file) {
    if (file.size() < kRiffHeaderSize || !file.startsWith("RIFF") || file.mid(8, 4) != "WAVE")
        return std::nullopt;
    std::optional<QAudioFormat> format;
    QByteArray samples;
    for (qsizetype at = kRiffHeaderSize; at + kChunkHeaderSize <= file.size();) {
        const QByteArray id = file.mid(at, 4);
        const quint32 size = u32At(file, at + 4);
        const qsizetype body = at + kChunkHeaderSize;
        const qsizetype available = std::min<qsizetype>(size, file.size() - body);
        if (id == "fmt " && available >= 16) format = readFormatChunk(file, body, size);
        if (id == "data" && format) {
            samples = file.mid(body, available);
            break;
        }
        at = body + qsizetype(size) + (size & 1); // chunks are padded to even sizes
    }
    if (!format) return std::nullopt;
    samples.truncate(samples.size() - samples.size() % format->bytesPerFrame());
    if (samples.isEmpty()) return std::nullopt;
    return PcmSound{*format, samples};
}

} // namespace brisko::audio
