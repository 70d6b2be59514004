#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <mutex>
#include <vector>

// The connections of Gigmora's own ports, remembered by the peer ports' full names, so that
// they can be made again after the ports were rebuilt or the server came back. A connection
// is forgotten only when someone undoes it while both ports stay: a disconnection is judged
// a moment later, when it is clear whether a port went away with it. Thread-safe; the lock is
// never held across a call into the MIDI system.
class MidiRoutes {
public:
    struct Disconnection {
        QString own;         // our port's short name
        QString peer;        // the peer port's full name
        uint64_t peerId;     // which registration of the peer port it was
        uint64_t generation; // which build of our ports it was
        int64_t atMs;
    };

    // False when the connection was remembered already.
    bool connected(const QString& own, const QString& peer);
    void disconnected(Disconnection d);
    // Disconnections that happened at or before `untilMs`, taken out for judgement.
    std::vector<Disconnection> takeDue(int64_t untilMs);
    void forget(const QString& own, const QString& peer);
    // The remembered peers of `own`, less those whose disconnection is still being judged.
    QStringList peersOf(const QString& own) const;

private:
    mutable std::mutex mutex_;
    QHash<QString, QStringList> routes_;
    std::vector<Disconnection> pending_;
};
