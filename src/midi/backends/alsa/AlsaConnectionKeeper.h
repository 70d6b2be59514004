#pragma once

#include "midi/ConnectionKeeper.h"

typedef struct snd_seq_event snd_seq_event_t;
class AlsaMidiServices;

// Keeps the subscriptions of the ALSA backend's ports. A peer port is known by its
// "client:port" names and identified by its address, which ALSA gives anew when a port is
// made again. Asks the sequencer under the backend's I/O lock, after reading our ports under
// its state lock (the order the backend takes them in).
class AlsaConnectionKeeper : public ConnectionKeeper {
public:
    explicit AlsaConnectionKeeper(AlsaMidiServices& services) : services_(services) {}

    // From the receive thread: a subscription was made or undone somewhere on the system.
    void subscriptionChanged(const snd_seq_event_t& ev, bool subscribed);

protected:
    Held hold() override;
    std::optional<uint64_t> peerIdentity(const QString& peer) override;
    bool isConnected(const OwnPort& own, const QString& peer, uint64_t peerId) override;
    bool connect(const OwnPort& own, const QString& peer, uint64_t peerId) override;
    const QLoggingCategory& logCategory() const override;

private:
    QString portName(int client, int port); // "client:port", or empty; under the I/O lock

    AlsaMidiServices& services_;
};
