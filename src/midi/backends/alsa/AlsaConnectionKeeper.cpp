#include "midi/backends/alsa/AlsaConnectionKeeper.h"

#include "midi/MidiLog.h"
#include "midi/backends/alsa/AlsaMidiServices.h"

#include <alsa/asoundlib.h>

namespace {
uint64_t addressId(int client, int port) {
    return (uint64_t(uint32_t(client)) << 32) | uint32_t(port);
}

snd_seq_addr_t addressOf(uint64_t id) {
    return {static_cast<unsigned char>(id >> 32), static_cast<unsigned char>(id & 0xffffffffu)};
}
} // namespace

QString AlsaConnectionKeeper::portName(int client, int port) {
    snd_seq_t* seq = services_.seq_;
    snd_seq_client_info_t* cinfo;
    snd_seq_port_info_t* pinfo;
    snd_seq_client_info_alloca(&cinfo);
    snd_seq_port_info_alloca(&pinfo);
    if (!seq || snd_seq_get_any_client_info(seq, client, cinfo) < 0 ||
        snd_seq_get_any_port_info(seq, client, port, pinfo) < 0)
        return {};
    return QString::fromUtf8(snd_seq_client_info_get_name(cinfo)) + ':' +
           QString::fromUtf8(snd_seq_port_info_get_name(pinfo));
}

void AlsaConnectionKeeper::subscriptionChanged(const snd_seq_event_t& ev, bool subscribed) {
    const snd_seq_addr_t sender = ev.data.connect.sender;
    const snd_seq_addr_t dest = ev.data.connect.dest;
    QString own;
    snd_seq_addr_t peer{};
    uint64_t generation = 0;
    {
        std::lock_guard lock(services_.mutex_);
        const int self = services_.seq_ ? snd_seq_client_id(services_.seq_) : -1;
        for (const auto& e : services_.endpoints_.all()) {
            const snd_seq_addr_t& mine = e.destination ? dest : sender;
            if (mine.client == self && mine.port == e.port) {
                own = e.name;
                peer = e.destination ? sender : dest;
            }
        }
        generation = services_.generation_;
    }
    if (own.isEmpty()) return;
    QString name;
    {
        std::lock_guard io(services_.ioMutex_);
        name = portName(peer.client, peer.port);
    }
    if (name.isEmpty()) return; // the peer is gone: the route stays remembered
    if (subscribed)
        connected(own, name);
    else
        disconnected(own, name, addressId(peer.client, peer.port), generation);
}

ConnectionKeeper::Held AlsaConnectionKeeper::hold() {
    Held held;
    {
        std::lock_guard lock(services_.mutex_);
        for (const auto& e : services_.endpoints_.all())
            held.own.push_back({e.name, {}, e.destination, e.port});
        held.generation = services_.generation_;
    }
    held.lock = std::unique_lock(services_.ioMutex_);
    held.live = services_.seq_ != nullptr;
    if (held.live) {
        const int self = snd_seq_client_id(services_.seq_);
        for (OwnPort& o : held.own)
            o.fullName = portName(self, o.number);
    }
    return held;
}

std::optional<uint64_t> AlsaConnectionKeeper::peerIdentity(const QString& peer) {
    snd_seq_t* seq = services_.seq_;
    if (!seq) return std::nullopt;
    const int self = snd_seq_client_id(seq);
    snd_seq_client_info_t* cinfo;
    snd_seq_port_info_t* pinfo;
    snd_seq_client_info_alloca(&cinfo);
    snd_seq_port_info_alloca(&pinfo);
    snd_seq_client_info_set_client(cinfo, -1);
    while (snd_seq_query_next_client(seq, cinfo) >= 0) {
        const int c = snd_seq_client_info_get_client(cinfo);
        if (c == self) continue;
        const QString clientName = QString::fromUtf8(snd_seq_client_info_get_name(cinfo));
        if (!peer.startsWith(clientName + ':')) continue;
        snd_seq_port_info_set_client(pinfo, c);
        snd_seq_port_info_set_port(pinfo, -1);
        while (snd_seq_query_next_port(seq, pinfo) >= 0)
            if (clientName + ':' + QString::fromUtf8(snd_seq_port_info_get_name(pinfo)) == peer)
                return addressId(c, snd_seq_port_info_get_port(pinfo));
    }
    return std::nullopt;
}

bool AlsaConnectionKeeper::isConnected(const OwnPort& own, const QString&, uint64_t peerId) {
    const snd_seq_addr_t mine{static_cast<unsigned char>(snd_seq_client_id(services_.seq_)),
                              static_cast<unsigned char>(own.number)};
    const snd_seq_addr_t theirs = addressOf(peerId);
    snd_seq_port_subscribe_t* sub;
    snd_seq_port_subscribe_alloca(&sub);
    snd_seq_port_subscribe_set_sender(sub, own.destination ? &theirs : &mine);
    snd_seq_port_subscribe_set_dest(sub, own.destination ? &mine : &theirs);
    return snd_seq_get_port_subscription(services_.seq_, sub) == 0;
}

bool AlsaConnectionKeeper::connect(const OwnPort& own, const QString&, uint64_t peerId) {
    const snd_seq_addr_t theirs = addressOf(peerId);
    const int rc =
        own.destination
            ? snd_seq_connect_from(services_.seq_, own.number, theirs.client, theirs.port)
            : snd_seq_connect_to(services_.seq_, own.number, theirs.client, theirs.port);
    return rc == 0;
}

const QLoggingCategory& AlsaConnectionKeeper::logCategory() const {
    return lcAlsa();
}
