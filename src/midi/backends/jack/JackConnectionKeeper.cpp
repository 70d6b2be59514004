#include "midi/backends/jack/JackConnectionKeeper.h"

#include "midi/MidiLog.h"

#include <jack/jack.h>

void JackConnectionKeeper::portsConnected(jack_client_t* client, jack_port_id_t a, jack_port_id_t b,
                                          bool made) {
    jack_port_t* pa = jack_port_by_id(client, a);
    jack_port_t* pb = jack_port_by_id(client, b);
    if (!pa || !pb || jack_port_is_mine(client, pa) == jack_port_is_mine(client, pb)) return;
    jack_port_t* own = jack_port_is_mine(client, pa) ? pa : pb;
    jack_port_t* peer = own == pa ? pb : pa;
    const QString ownName = QString::fromUtf8(jack_port_short_name(own));
    const QString peerName = QString::fromUtf8(jack_port_name(peer));
    if (made)
        connected(ownName, peerName);
    else
        disconnected(ownName, peerName, jack_port_uuid(peer), backend_.generation());
}

ConnectionKeeper::Held JackConnectionKeeper::hold() {
    Held held;
    held.lock = std::unique_lock(*backend_.lifecycle);
    std::vector<JackReconnectService::OwnPort> own;
    held.live = backend_.ownPorts(&own) != nullptr;
    held.generation = backend_.generation();
    for (const auto& o : own)
        held.own.push_back({o.shortName, o.fullName, o.destination, -1});
    return held;
}

std::optional<uint64_t> JackConnectionKeeper::peerIdentity(const QString& peer) {
    jack_client_t* c = client();
    jack_port_t* port = c ? jack_port_by_name(c, peer.toUtf8().constData()) : nullptr;
    if (!port) return std::nullopt;
    return jack_port_uuid(port);
}

bool JackConnectionKeeper::isConnected(const OwnPort& own, const QString& peer, uint64_t) {
    jack_client_t* c = client();
    jack_port_t* mine = c ? jack_port_by_name(c, own.fullName.toUtf8().constData()) : nullptr;
    return mine && jack_port_connected_to(mine, peer.toUtf8().constData());
}

bool JackConnectionKeeper::connect(const OwnPort& own, const QString& peer, uint64_t) {
    jack_client_t* c = client();
    const QByteArray from = (own.destination ? peer : own.fullName).toUtf8();
    const QByteArray to = (own.destination ? own.fullName : peer).toUtf8();
    return c && jack_connect(c, from.constData(), to.constData()) == 0;
}

const QLoggingCategory& JackConnectionKeeper::logCategory() const {
    return lcJack();
}
