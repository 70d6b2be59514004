#pragma once

#include <QString>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <jack/types.h>

class JackConnectionKeeper;

// Keeps the JACK backend connected, on a thread of its own: it connects the client when a
// server appears (also after a start without one), drops a client whose server went away so
// that the next server gets it rebuilt, and gives the keeper of our ports' connections its
// turns. Nothing here holds a lock the sending thread waits on.
class JackReconnectService {
public:
    struct OwnPort {
        QString shortName, fullName;
        bool destination;
        jack_port_t* port;
    };
    // What the service asks of the backend.
    struct Backend {
        std::function<bool()> wantsClient;   // a client is wanted and none is connected
        std::function<bool()> connectClient; // false when there is no server
        std::function<void()> dropDeadClient;
        // The connected client (or none) and our ports on it.
        std::function<jack_client_t*(std::vector<OwnPort>*)> ownPorts;
        std::function<uint64_t()> generation; // which build of our ports is live
        // Serialises everything that opens, closes or asks the server, process-wide.
        std::mutex* lifecycle = nullptr;
    };

    explicit JackReconnectService(Backend backend);
    ~JackReconnectService();
    void start();
    void stop();

    // From JACK's notification thread: the server is gone; a port was connected or not.
    void serverGone() { serverGone_.store(true); }
    void connectionChanged(jack_client_t* client, jack_port_id_t a, jack_port_id_t b,
                           bool connected);
    void requestRestore();

private:
    void loop();

    Backend backend_;
    std::unique_ptr<JackConnectionKeeper> keeper_; // after backend_, which it reads
    std::atomic<bool> serverGone_{false};
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};
