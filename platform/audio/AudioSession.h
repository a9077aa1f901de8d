#pragma once
// The process's audio session: the events that may stop playback behind a player's back.

#include <QObject>

class QMediaDevices;

namespace brisko::audio {

// The integer values mirror the platform's interruption-type key: 0 means the interruption ended.
enum class InterruptionType { Ended = 0, Began = 1 };

class AudioSession : public QObject {
    Q_OBJECT

  public:
    static AudioSession& shared(); // needs the application object

    // Began: an output under a playing player failed. Ended: after that, an output is available again.
    void postInterruption(InterruptionType type);
    // The set of audio outputs changed; players opened on the old set should be rebuilt.
    void postMediaServicesReset();

  signals:
    void interruption(brisko::audio::InterruptionType type);
    void mediaServicesWereReset();

  private:
    AudioSession();
    void outputsChanged();

    QMediaDevices* devices_;
    bool interrupted_ = false;
};

} // namespace brisko::audio
