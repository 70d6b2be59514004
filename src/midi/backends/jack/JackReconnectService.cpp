#include "midi/backends/jack/JackReconnectService.h"

#include "midi/MidiLog.h"

#include <jack/jack.h>
#include <time.h>

namespace {
constexpr int kTickMs = 50;
constexpr int kReconnectMs = 500;
// How long after a disconnection we look whether a port went away with it.
constexpr int kJudgeAfterMs = 500;

int64_t nowMs() {
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return int64_t(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

void sleepMs(int ms) {
    struct timespec ts {
        ms / 1000, (ms % 1000) * 1000000L
    };
    nanosleep(&ts, nullptr);
}
} // namespace

JackReconnectService::JackReconnectService(Backend backend) : backend_(std::move(backend)) {}

JackReconnectService::~JackReconnectService() {
    stop();
}

void JackReconnectService::start() {
    if (!thread_.joinable()) thread_ = std::thread([this] { loop(); });
}

void JackReconnectService::stop() {
    stopping_ = true;
    if (thread_.joinable()) thread_.join();
}

void JackReconnectService::connectionChanged(jack_client_t* client, jack_port_id_t a,
                                             jack_port_id_t b, bool connected) {
    jack_port_t* pa = jack_port_by_id(client, a);
    jack_port_t* pb = jack_port_by_id(client, b);
    if (!pa || !pb || jack_port_is_mine(client, pa) == jack_port_is_mine(client, pb)) return;
    jack_port_t* own = jack_port_is_mine(client, pa) ? pa : pb;
    jack_port_t* peer = own == pa ? pb : pa;
    const QString ownName = QString::fromUtf8(jack_port_short_name(own));
    const QString peerName = QString::fromUtf8(jack_port_name(peer));
    if (connected)
        routes_.connected(ownName, peerName);
    else
        routes_.disconnected(
            {ownName, peerName, jack_port_uuid(peer), backend_.generation(), nowMs()});
}

void JackReconnectService::loop() {
    int64_t nextAttempt = 0;
    while (!stopping_.load()) {
        sleepMs(kTickMs);
        if (serverGone_.exchange(false)) backend_.dropDeadClient();
        if (backend_.wantsClient() && nowMs() >= nextAttempt) {
            if (backend_.connectClient())
                restorePending_.store(true);
            else
                nextAttempt = nowMs() + kReconnectMs;
        }
        if (restorePending_.exchange(false)) restoreRoutes();
        judgeDisconnections();
    }
}

void JackReconnectService::restoreRoutes() {
    std::lock_guard lifecycle(*backend_.lifecycle);
    std::vector<OwnPort> own;
    jack_client_t* c = backend_.ownPorts(&own);
    if (!c) return;
    for (const OwnPort& o : own)
        for (const QString& peer : routes_.peersOf(o.shortName)) {
            const QByteArray peerName = peer.toUtf8();
            if (!jack_port_by_name(c, peerName.constData()) ||
                jack_port_connected_to(o.port, peerName.constData()))
                continue;
            const QString& from = o.destination ? peer : o.fullName;
            const QString& to = o.destination ? o.fullName : peer;
            if (jack_connect(c, from.toUtf8().constData(), to.toUtf8().constData()) == 0)
                qCInfo(lcJack).noquote() << "Restored the MIDI connection" << from << "->" << to;
        }
}

void JackReconnectService::judgeDisconnections() {
    const auto due = routes_.takeDue(nowMs() - kJudgeAfterMs);
    if (due.empty()) return;
    std::lock_guard lifecycle(*backend_.lifecycle);
    jack_client_t* c = backend_.ownPorts(nullptr);
    for (const auto& d : due) {
        // Our ports were rebuilt since, or the peer went away: the route stays remembered.
        if (!c || d.generation != backend_.generation()) {
            restorePending_.store(true);
            continue;
        }
        jack_port_t* peer = jack_port_by_name(c, d.peer.toUtf8().constData());
        if (peer && jack_port_uuid(peer) == d.peerId)
            routes_.forget(d.own, d.peer);
        else
            restorePending_.store(true); // kept: it may be back already
    }
}
