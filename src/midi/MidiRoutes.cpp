#include "midi/MidiRoutes.h"

bool MidiRoutes::connected(const QString& own, const QString& peer) {
    std::lock_guard lock(mutex_);
    QStringList& peers = routes_[own];
    if (peers.contains(peer)) return false;
    peers.append(peer);
    return true;
}

void MidiRoutes::disconnected(Disconnection d) {
    std::lock_guard lock(mutex_);
    pending_.push_back(std::move(d));
}

std::vector<MidiRoutes::Disconnection> MidiRoutes::takeDue(int64_t untilMs) {
    std::lock_guard lock(mutex_);
    std::vector<Disconnection> due;
    std::erase_if(pending_, [&](Disconnection& d) {
        if (d.atMs > untilMs) return false;
        due.push_back(std::move(d));
        return true;
    });
    return due;
}

void MidiRoutes::forget(const QString& own, const QString& peer) {
    std::lock_guard lock(mutex_);
    routes_[own].removeAll(peer);
}

QStringList MidiRoutes::peersOf(const QString& own) const {
    std::lock_guard lock(mutex_);
    QStringList peers = routes_.value(own);
    // Not while a disconnection is still being judged: it may have been meant.
    for (const Disconnection& d : pending_)
        if (d.own == own) peers.removeAll(d.peer);
    return peers;
}
