#pragma once

#include "midi/ConnectionKeeper.h"
#include "midi/backends/jack/JackReconnectService.h"

#include <jack/types.h>

// Keeps the connections of the JACK backend's ports. A peer port is known by its full name and
// identified by its UUID, which JACK gives anew when a port is registered again. Everything
// that asks the server does so under the backend's lifecycle lock.
class JackConnectionKeeper : public ConnectionKeeper {
public:
    explicit JackConnectionKeeper(const JackReconnectService::Backend& backend)
        : backend_(backend) {}

    // From JACK's notification thread: ports `a` and `b` were connected, or disconnected.
    void portsConnected(jack_client_t* client, jack_port_id_t a, jack_port_id_t b, bool made);

protected:
    Held hold() override;
    std::optional<uint64_t> peerIdentity(const QString& peer) override;
    bool isConnected(const OwnPort& own, const QString& peer, uint64_t peerId) override;
    bool connect(const OwnPort& own, const QString& peer, uint64_t peerId) override;
    const QLoggingCategory& logCategory() const override;

private:
    jack_client_t* client() const { return backend_.ownPorts(nullptr); }

    const JackReconnectService::Backend& backend_;
};
