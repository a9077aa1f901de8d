#include "keepalive.h"

#include "SleepInhibitor.h"
#include "silent_wav.h"

#include "app/install/display_name.h"
#include "platform/audio/AudioSession.h"
#include "platform/audio/LoopingPlayer.h"
#include "platform/dispatch/dispatch.h"

#include <QGuiApplication>

#include <memory>
#include <mutex>

namespace brisko {
namespace {

QByteArray _debugKeepAliveAudioData;
std::unique_ptr<audio::LoopingPlayer> _debugKeepAlivePlayer;

std::function<bool()>& debugServiceEnabledProvider() {
    static std::function<bool()> provider;
    return provider;
}

bool debugServiceEnabled() {
    const auto& provider = debugServiceEnabledProvider();
    return provider && provider();
}

SleepInhibitor& sleepInhibitor() {
    static auto* inhibitor = new SleepInhibitor; // lives as long as the process
    return *inhibitor;
}

// Linux does not suspend background programs; what keeps the device reachable is keeping it awake.
void activateSession() {
    sleepInhibitor().acquire(QStringLiteral("sleep:idle"), BKApplicationDisplayName(),
                             QStringLiteral("debug mode"), QStringLiteral("block"));
}

void dropPlayerAndData() {
    _debugKeepAlivePlayer.reset();
    _debugKeepAliveAudioData = QByteArray();
}

void createPlayer() {
    _debugKeepAlivePlayer = audio::LoopingPlayer::create(_debugKeepAliveAudioData);
    if (!_debugKeepAlivePlayer) return;
    _debugKeepAlivePlayer->setNumberOfLoops(-1);
    _debugKeepAlivePlayer->setVolume(0.0f);
    _debugKeepAlivePlayer->prepareToPlay();
}

bool isBackground(Qt::ApplicationState state) {
    return state == Qt::ApplicationHidden || state == Qt::ApplicationSuspended;
}

void installObservers() {
    if (auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        // Leaving for the background and coming back to the foreground both restart playback.
        QObject::connect(app, &QGuiApplication::applicationStateChanged, app, [](Qt::ApplicationState state) {
            if (isBackground(state) || state == Qt::ApplicationActive) BKStartDebugAudioKeepAlive();
        });
    }
    auto& session = audio::AudioSession::shared();
    QObject::connect(&session, &audio::AudioSession::interruption, &session,
                     [](audio::InterruptionType type) {
                         if (type == audio::InterruptionType::Ended) BKStartDebugAudioKeepAlive();
                     });
    QObject::connect(&session, &audio::AudioSession::mediaServicesWereReset, &session, [] {
        dropPlayerAndData();
        BKStartDebugAudioKeepAlive();
    });
}

} // namespace

void BKSetDebugServiceEnabledProvider(std::function<bool()> debugServiceEnabled) {
    debugServiceEnabledProvider() = std::move(debugServiceEnabled);
}

void BKInstallDebugAudioKeepAlive() {
    if (!isMainThread()) {
        dispatchMainAsync(&BKInstallDebugAudioKeepAlive);
        return;
    }
    static std::once_flag installed;
    std::call_once(installed, installObservers);
    if (debugServiceEnabled()) BKStartDebugAudioKeepAlive();
}

void BKStartDebugAudioKeepAlive() {
    if (!debugServiceEnabled()) return;
    if (!isMainThread()) {
        dispatchMainAsync(&BKStartDebugAudioKeepAlive);
        return;
    }
    activateSession();
    if (_debugKeepAliveAudioData.isNull()) _debugKeepAliveAudioData = BKCreateSilentWAVData();
    if (!_debugKeepAlivePlayer) createPlayer();
    if (_debugKeepAlivePlayer && !_debugKeepAlivePlayer->isPlaying()) _debugKeepAlivePlayer->play();
}

void BKStopDebugAudioKeepAlive() {
    if (!isMainThread()) {
        dispatchMainAsync(&BKStopDebugAudioKeepAlive);
        return;
    }
    if (_debugKeepAlivePlayer && _debugKeepAlivePlayer->isPlaying()) _debugKeepAlivePlayer->stop();
    dropPlayerAndData();
    sleepInhibitor().release();
}

const audio::LoopingPlayer* BKDebugKeepAlivePlayer() {
    return _debugKeepAlivePlayer.get();
}

QByteArray BKDebugKeepAliveAudioData() {
    return _debugKeepAliveAudioData;
}

bool BKDebugKeepAliveHoldsSleepLock() {
    return sleepInhibitor().isHeld() || sleepInhibitor().isPending();
}

} // namespace brisko
