#pragma once
// The socket a running script talks to: one per run, in a private directory, owned by the
// script's user and answering only that user (or root). Serves on a thread of its own, so a
// slow call never holds up the daemon; removed with the object.

#include "daemon/script_api/api_calls.h"

#include <QByteArray>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace brisko::scriptapi {

inline constexpr int kMaxApiClients = 8;

class ScriptApiServer {
  public:
    // Null, with the reason in *error, when the socket cannot be made.
    static std::unique_ptr<ScriptApiServer> start(ScriptApiSettings settings, QString* error);
    ~ScriptApiServer();
    ScriptApiServer(const ScriptApiServer&) = delete;
    ScriptApiServer& operator=(const ScriptApiServer&) = delete;

    QByteArray socketPath() const { return socketPath_; }
    // "BRISKO_API=…" for the script's environment.
    QByteArray environmentEntry() const;

  private:
    struct Client {
        int fd;
        QByteArray pending;
    };

    explicit ScriptApiServer(ScriptApiSettings settings);
    bool listenPrivately(QString* error);
    void serve();
    void acceptClient();
    bool isPeerAllowed(int fd) const;
    bool readFrom(Client& client); // false: the client is done
    bool answer(Client& client, const QByteArray& line);

    ScriptApiSettings settings_;
    QByteArray directory_, socketPath_;
    int listenFd_ = -1;
    int wakeFd_ = -1;
    std::atomic<bool> stopping_{false};
    std::vector<Client> clients_;
    std::unique_ptr<ApiCalls> calls_;
    std::thread thread_;
};

} // namespace brisko::scriptapi
