#pragma once

#include "audio/JackClient.h"

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <atomic>
#include <functional>
#include <memory>

#include <jack/types.h>

// Keeps the MIDI connections of the DAWs' JACK ports across a song change: a program that makes
// its JACK client anew at each song (ZynAddSubFX) loses the keyboard on its MIDI input, and this
// connects it again. A connection someone undoes while both ports stay is forgotten; one whose
// peer went away is kept for its return. Its JACK client only signals; the looking is done on
// the main thread.
class DawPortKeeper : public QObject {
    Q_OBJECT
public:
    static constexpr const char* kClientName = "Gigmora Ports";
    static constexpr int kLookMs = 200;
    static constexpr int kRetryLooks = 25; // without a server: asked again every 5 s

    // The JACK clients of the DAWs, by name, asked at every look (the programs of a song
    // folder come and go).
    explicit DawPortKeeper(std::function<QStringList()> clients, QObject* parent = nullptr);
    ~DawPortKeeper() override;

    // Opens its client; false without a JACK server (it tries again at every look).
    bool start();
    // Whether the JACK client `client` has a port on the server; true when it cannot tell.
    bool hasPorts(const QString& client) const;

private:
    struct Port {
        jack_uuid_t uuid = 0;  // which registration of it was last seen
        QStringList peers;     // what it is to be connected to
        QStringList peersAway; // of those, the ones that were not there at the last look
    };
    void look();
    static void changed(jack_port_id_t, int, void* self);
    static void clientChanged(const char* name, int registered, void* self);
    static void serverGone(void* self);
    static void connectionChanged(jack_port_id_t, jack_port_id_t, int, void* self);

    std::function<QStringList()> clients_;
    JackClient client_;
    std::atomic<bool> changed_{true};
    std::atomic<bool> serverGone_{false};
    int looksWithout_ = 0;       // looks without a client
    QHash<QString, Port> ports_; // by full name
    QStringList gone_;           // clients closed and not seen with ports since
    QTimer timer_;
};
