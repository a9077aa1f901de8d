#include "platform/notify/notify.h"

#include "platform/notify/Channel.h"

namespace brisko::notify {

void post(const QString& name) {
    if (name.isEmpty()) return;
    Channel::instance().post(name);
}

void addObserver(const QString& name, Handler handler) {
    if (name.isEmpty() || !handler) return;
    Channel::instance().addObserver(name, std::move(handler));
}

int registerDispatch(const QString& name, std::function<void(Token)> handler, Token* token) {
    if (name.isEmpty() || !handler || !token) return -1;
    *token = Channel::instance().registerDispatch(name, std::move(handler));
    return 0;
}

void cancel(Token token) {
    Channel::instance().cancel(token);
}

bool waitUntilReady(int timeoutMs) {
    return Channel::instance().waitUntilReady(timeoutMs);
}

} // namespace brisko::notify
