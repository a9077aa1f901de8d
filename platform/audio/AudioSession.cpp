#include "AudioSession.h"

#include <QAudioDevice>
#include <QMediaDevices>

namespace brisko::audio {

AudioSession& AudioSession::shared() {
    static auto* session = new AudioSession; // lives as long as the process
    return *session;
}

AudioSession::AudioSession() : devices_(new QMediaDevices(this)) {
    connect(devices_, &QMediaDevices::audioOutputsChanged, this, &AudioSession::outputsChanged);
}

void AudioSession::postInterruption(InterruptionType type) {
    interrupted_ = type == InterruptionType::Began;
    emit interruption(type);
}

void AudioSession::postMediaServicesReset() {
    emit mediaServicesWereReset();
}

void AudioSession::outputsChanged() {
    if (interrupted_ && !QMediaDevices::defaultAudioOutput().isNull())
        postInterruption(InterruptionType::Ended);
    postMediaServicesReset();
}

} // namespace brisko::audio
