#include "LoopingPlayer.h"

#include "AudioSession.h"
#include "LoopDevice.h"

#include <QAudioDevice>
#include <QAudioSink>
#include <QMediaDevices>

namespace brisko::audio {

std::unique_ptr<LoopingPlayer> LoopingPlayer::create(const QByteArray& wavFile) {
    std::optional<PcmSound> sound = readWav(wavFile);
    if (!sound) return nullptr;
    return std::unique_ptr<LoopingPlayer>(new LoopingPlayer(std::move(*sound)));
}

LoopingPlayer::LoopingPlayer(PcmSound sound) : sound_(std::move(sound)) {}

LoopingPlayer::~LoopingPlayer() {
    playing_ = false; // a stop from here is no interruption
    if (sink_) sink_->stop();
}

void LoopingPlayer::setVolume(float volume) {
    volume_ = volume;
    if (sink_) sink_->setVolume(volume);
}

void LoopingPlayer::prepareToPlay() {
    if (sink_) return;
    const QAudioDevice output = QMediaDevices::defaultAudioOutput();
    if (output.isNull()) return;
    sink_ = std::make_unique<QAudioSink>(output, sound_.format);
    sink_->setVolume(volume_);
    connect(sink_.get(), &QAudioSink::stateChanged, this, &LoopingPlayer::sinkStateChanged);
}

void LoopingPlayer::play() {
    playing_ = true;
    prepareToPlay();
    if (!sink_) return;
    if (sink_->state() == QAudio::SuspendedState) {
        sink_->resume();
    } else if (sink_->state() == QAudio::StoppedState) {
        startOutput();
    }
}

void LoopingPlayer::startOutput() {
    device_ = std::make_unique<LoopDevice>(sound_.samples, loops_);
    device_->open(QIODevice::ReadOnly);
    sink_->start(device_.get());
}

void LoopingPlayer::pause() {
    playing_ = false;
    if (sink_) sink_->suspend();
}

void LoopingPlayer::stop() {
    playing_ = false;
    if (sink_) sink_->stop(); // the next play starts from the first sample
}

bool LoopingPlayer::isOutputActive() const {
    return sink_ && (sink_->state() == QAudio::ActiveState || sink_->state() == QAudio::IdleState);
}

void LoopingPlayer::sinkStateChanged(QAudio::State state) {
    if (!playing_) return; // our own pause or stop
    if (state == QAudio::StoppedState && sink_->error() != QAudio::NoError) {
        playing_ = false;
        AudioSession::shared().postInterruption(InterruptionType::Began);
    } else if (state == QAudio::IdleState && device_->atEnd()) {
        playing_ = false; // a finite loop count ran out
    }
}

} // namespace brisko::audio
