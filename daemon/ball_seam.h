#pragma once
// Where the floating ball plugs into the daemon. The ball is told the script's real state (also
// when the script ends by itself or is driven over HTTP) and hands the user's taps back.

#include "daemon/script_state.h"

namespace brisko::daemon {

enum class BallAction { Start, Stop, Pause, Resume, Close };

class BallPresenter {
  public:
    virtual ~BallPresenter() = default;
    // Running and paused colours; called on the main thread at attach time and on every change.
    virtual void showScriptState(ScriptState state) = 0;
    virtual void hideBall() = 0;
};

} // namespace brisko::daemon
