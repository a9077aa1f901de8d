#pragma once

namespace brisko::daemon {

enum class ScriptState { Stopped, Running, Paused };

inline const char* scriptStateName(ScriptState state) {
    switch (state) {
    case ScriptState::Running:
        return "running";
    case ScriptState::Paused:
        return "paused";
    case ScriptState::Stopped:
        break;
    }
    return "stopped";
}

} // namespace brisko::daemon
