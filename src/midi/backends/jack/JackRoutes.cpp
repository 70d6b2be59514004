#include "midi/backends/jack/JackRoutes.h"

void JackRoutes::connected(const QString& own, const QString& peer) {
    std::lock_guard lock(mutex_);
    QStringList& peers = routes_[own];
    if (!peers.contains(peer)) peers.append(peer);
}

void JackRoutes::disconnected(Disconnection d) {
    std::lock_guard lock(mutex_);
    pending_.push_back(std::move(d));
}

std::vector<JackRoutes::Disconnection> JackRoutes::takeDue(int64_t untilMs) {
    std::lock_guard lock(mutex_);
    std::vector<Disconnection> due;
    std::erase_if(pending_, [&](Disconnection& d) {
        if (d.atMs > untilMs) return false;
        due.push_back(std::move(d));
        return true;
    });
    return due;
}

void JackRoutes::forget(const QString& own, const QString& peer) {
    std::lock_guard lock(mutex_);
    routes_[own].removeAll(peer);
}

QStringList JackRoutes::peersOf(const QString& own) const {
    std::lock_guard lock(mutex_);
    return routes_.value(own);
}
