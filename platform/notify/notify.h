#pragma once
// System-wide, payload-free named notifications: D-Bus broadcast signals on the system bus.
//
// Wire format, for busctl / dbus-monitor users:
//   path /com/brisko/Notify, interface com.brisko.Notify, signal Post(s name)
//   watch: dbus-monitor --system "type='signal',interface='com.brisko.Notify'"
//   post:  busctl --system emit /com/brisko/Notify com.brisko.Notify Post s com.brisko.floatball.ping
// Observers match on arg0, so the bus only delivers the names a process asked for.
// The connection follows the bus going away and coming back; posts made while no bus is
// reachable are dropped, as unacknowledged notifications are.

#include <QString>

#include <functional>

namespace brisko::notify {

using Handler = std::function<void()>;
using Token = int;

// Posts name to every observer of it; an empty name posts nothing.
void post(const QString& name);

// Calls handler, on the notification thread, for every post of name until the process ends.
void addObserver(const QString& name, Handler handler);

// One-shot style registration: handler runs on the global worker pool with its own token,
// for every post of name until cancel(token). Returns 0 and sets *token, or non-zero on failure.
int registerDispatch(const QString& name, std::function<void(Token)> handler, Token* token);
void cancel(Token token);

// Blocks until the connection is up and the match rules of the observers added so far are in
// place on the bus, or the time-out passes; the posts made before it have then reached the bus
// too, so a process may post, wait and exit. For tests and start-up ordering.
bool waitUntilReady(int timeoutMs);

} // namespace brisko::notify
