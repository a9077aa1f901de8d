#pragma once
// The names exchanged with the runner daemon. Bare names, no payload.

namespace brisko::names {

inline constexpr char kPing[] = "com.brisko.floatball.ping";
inline constexpr char kAlive[] = "com.brisko.floatball.alive";
inline constexpr char kScriptRunning[] = "com.brisko.floatball.script.running";
inline constexpr char kScriptStopped[] = "com.brisko.floatball.script.stopped";
inline constexpr char kDebugEnabled[] = "com.brisko.floatball.debug.enabled";
inline constexpr char kDebugDisabled[] = "com.brisko.floatball.debug.disabled";
inline constexpr char kDebugEnableRequest[] = "com.brisko.floatball.debug.enable_request";
inline constexpr char kDebugDisableRequest[] = "com.brisko.floatball.debug.disable_request";
inline constexpr char kDebugConnected[] = "com.brisko.debug.connected";
inline constexpr char kDebugDisconnected[] = "com.brisko.debug.disconnected";
inline constexpr char kWebViewShow[] = "com.brisko.webview.show";
inline constexpr char kWebViewClose[] = "com.brisko.webview.close";

} // namespace brisko::names
