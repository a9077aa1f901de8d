#pragma once

#include <QByteArray>

namespace brisko {

// Two seconds of silence as a WAV file: 16 kHz, mono, 16-bit PCM; 44-byte header + 64000 zero bytes.
QByteArray BKCreateSilentWAVData();

} // namespace brisko
