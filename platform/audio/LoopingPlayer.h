#pragma once
// Plays an in-memory WAV file in a loop through the default audio output.

#include "wav.h"

#include <QAudio>
#include <QObject>

#include <memory>

class QAudioSink;

namespace brisko::audio {

class LoopDevice;

class LoopingPlayer : public QObject {
    Q_OBJECT

  public:
    // Null when the data is not a playable WAV file.
    static std::unique_ptr<LoopingPlayer> create(const QByteArray& wavFile);
    ~LoopingPlayer() override;

    void setNumberOfLoops(int loops) { loops_ = loops; } // negative: without end
    void setVolume(float volume);
    float volume() const { return volume_; }
    int numberOfLoops() const { return loops_; }

    // Opens the default output. A machine without one plays nothing and reports no error:
    // isPlaying() follows play/pause/stop, isOutputActive() tells whether samples flow.
    void prepareToPlay();
    void play();
    void pause();
    void stop();
    bool isPlaying() const { return playing_; }
    bool isOutputActive() const;

  private:
    explicit LoopingPlayer(PcmSound sound);
    void startOutput();
    void sinkStateChanged(QAudio::State state);

    PcmSound sound_;
    int loops_ = 0;
    float volume_ = 1.0f;
    bool playing_ = false;
    std::unique_ptr<LoopDevice> device_; // outlives the sink that reads it
    std::unique_ptr<QAudioSink> sink_;
};

} // namespace brisko::audio
