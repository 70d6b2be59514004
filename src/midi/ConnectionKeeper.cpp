#include "midi/ConnectionKeeper.h"

#include <chrono>

namespace {
// How long after a disconnection we look whether a port went away with it.
constexpr int64_t kJudgeDisconnectionAfterMs = 500;

int64_t keeperNowMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}
} // namespace

void ConnectionKeeper::connected(const QString& own, const QString& peer) {
    if (routes_.connected(own, peer))
        qCInfo(logCategory()).noquote()
            << "Remembered the MIDI connection of" << own << "with" << peer;
}

void ConnectionKeeper::disconnected(const QString& own, const QString& peer, uint64_t peerId,
                                    uint64_t generation) {
    routes_.disconnected({own, peer, peerId, generation, keeperNowMs()});
}

void ConnectionKeeper::tick() {
    if (restorePending_.exchange(false)) restoreRoutes();
    judgeDisconnections();
}

void ConnectionKeeper::restoreRoutes() {
    const Held held = hold();
    if (!held.live) return;
    for (const OwnPort& own : held.own)
        for (const QString& peer : routes_.peersOf(own.name)) {
            const std::optional<uint64_t> id = peerIdentity(peer);
            if (!id || isConnected(own, peer, *id) || !connect(own, peer, *id)) continue;
            const QString& from = own.destination ? peer : own.fullName;
            const QString& to = own.destination ? own.fullName : peer;
            qCInfo(logCategory()).noquote() << "Restored the MIDI connection" << from << "->" << to;
        }
}

void ConnectionKeeper::judgeDisconnections() {
    const auto due = routes_.takeDue(keeperNowMs() - kJudgeDisconnectionAfterMs);
    if (due.empty()) return;
    const Held held = hold();
    for (const auto& d : due) {
        // Our ports were rebuilt since, or the peer went away or was registered again: the
        // route stays remembered, and may be due for restoring already.
        const std::optional<uint64_t> id =
            held.live && d.generation == held.generation ? peerIdentity(d.peer) : std::nullopt;
        if (id == d.peerId) {
            routes_.forget(d.own, d.peer);
            qCInfo(logCategory()).noquote()
                << "Forgot the MIDI connection of" << d.own << "with" << d.peer << "(undone)";
        } else {
            restorePending_.store(true);
            qCInfo(logCategory()).noquote()
                << "Kept the MIDI connection of" << d.own << "with" << d.peer << "to make again";
        }
    }
}
