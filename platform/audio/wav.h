#pragma once
// Reads linear-PCM WAV files held in memory.

#include <QAudioFormat>
#include <QByteArray>

#include <optional>

namespace brisko::audio {

struct PcmSound {
    QAudioFormat format;
    QByteArray samples; // whole frames only
};

// RIFF/WAVE with a "fmt " chunk of linear PCM (8, 16 or 32 bits) and a "data" chunk; other
// chunks are skipped. A data chunk that claims more than the file holds is cut to what is
// there. Nothing playable (bad header, no frames) gives nullopt.
std::optional<PcmSound> readWav(const QByteArray& file);

} // namespace brisko::audio
