#pragma once

#include "midi/MidiRoutes.h"

#include <QLoggingCategory>
#include <QString>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

// Keeps the connections of our own ports, whatever the MIDI system: remembered as they are
// made, made again after our ports were rebuilt or when a peer port comes back, forgotten only
// when someone undoes one while both ports stay. A subclass per system supplies the system's
// primitives; the policy lives here alone. The notification side never asks the system; the
// rest runs on the backend's own thread, through tick().
class ConnectionKeeper {
public:
    ConnectionKeeper(const ConnectionKeeper&) = delete;
    ConnectionKeeper& operator=(const ConnectionKeeper&) = delete;
    virtual ~ConnectionKeeper() = default;

    // From the system's notifications: our port `own` (its short name) was connected to or
    // disconnected from `peer` (the peer port's full name). `peerId` says which registration
    // of the peer it was, `generation` which build of our ports.
    void connected(const QString& own, const QString& peer);
    void disconnected(const QString& own, const QString& peer, uint64_t peerId,
                      uint64_t generation);
    // Our ports were rebuilt or a peer port appeared: restore at the next tick.
    void requestRestore() { restorePending_.store(true); }
    // On the backend's thread, every turn of its loop.
    void tick();

protected:
    ConnectionKeeper() = default;

    struct OwnPort {
        QString name;     // the short name its routes are remembered under
        QString fullName; // "client:port", as the system and the log name it
        bool destination = false;
        int number = -1; // the system's number for it, where the system numbers ports
    };
    // Our ports as they are while `lock` holds whatever the system is asked under; the
    // primitives below are called only while one of these lives.
    struct Held {
        std::unique_lock<std::mutex> lock;
        bool live = false; // a client is up on the system
        uint64_t generation = 0;
        std::vector<OwnPort> own;
    };

    virtual Held hold() = 0;
    // Which registration of the port `peer` is there now; none when no such port exists.
    virtual std::optional<uint64_t> peerIdentity(const QString& peer) = 0;
    virtual bool isConnected(const OwnPort& own, const QString& peer, uint64_t peerId) = 0;
    // Connects the two, the peer's output to our destination or our source to the peer's input.
    virtual bool connect(const OwnPort& own, const QString& peer, uint64_t peerId) = 0;
    virtual const QLoggingCategory& logCategory() const = 0;

private:
    void restoreRoutes();
    void judgeDisconnections();

    MidiRoutes routes_;
    std::atomic<bool> restorePending_{false};
};
