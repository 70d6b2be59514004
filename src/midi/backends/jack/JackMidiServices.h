#pragma once

#include "midi/EndpointTable.h"
#include "midi/MidiServices.h"
#include "midi/backends/jack/JackPortMetadata.h"
#include "midi/backends/jack/JackRealtimeQueue.h"
#include "midi/backends/jack/JackReconnectService.h"

#include <QHash>
#include <atomic>
#include <mutex>

#include <jack/jack.h>
#include <jack/metadata.h>

// MIDI through a JACK server: the client and its ports. The destination is a MIDI input port,
// the source a MIDI output port; unique ID and model are JACK metadata properties of the port.
// The real-time queue moves the events; the reconnect service connects the client when a
// server appears (also after start-up without one), rebuilds it under the same names and
// properties when the server comes back, and restores the ports' connections. None of that
// holds a lock the main thread waits on to send.
class JackMidiServices : public MidiServices {
public:
    static constexpr const char* kUniqueIDKey = JackPortMetadata::kUniqueIDKey;
    static constexpr const char* kModelKey = JackPortMetadata::kModelKey;

    JackMidiServices();
    ~JackMidiServices() override;
    static bool serverIsRunning();

    QString systemName() const override { return QStringLiteral("JACK"); }
    OSStatus clientCreate(const QString& name, MIDINotifyProc notifyProc, void* notifyRefCon,
                          MIDIClientRef* outClient) override;
    OSStatus clientDispose(MIDIClientRef client) override;
    OSStatus objectSetIntegerProperty(MIDIObjectRef obj, MidiProperty property,
                                      int32_t value) override;
    OSStatus objectGetIntegerProperty(MIDIObjectRef obj, MidiProperty property,
                                      int32_t* outValue) override;
    OSStatus objectSetStringProperty(MIDIObjectRef obj, MidiProperty property,
                                     const QString& value) override;
    OSStatus objectGetStringProperty(MIDIObjectRef obj, MidiProperty property,
                                     QString* outValue) override;
    OSStatus objectFindByUniqueID(MIDIUniqueID id, MIDIObjectRef* outObject,
                                  MIDIObjectType* outType) override;
    OSStatus received(MIDIEndpointRef source, const MidiPacketList& list) override;

private:
    struct Endpoint : EndpointIdentity {
        int slot = -1; // the real-time queue's slot
        jack_port_t* port = nullptr;
    };

    static void portRegistered(jack_port_id_t port, int registered, void* arg);
    static void portConnected(jack_port_id_t a, jack_port_id_t b, int connect, void* arg);
    static void propertyChanged(jack_uuid_t subject, const char* key, jack_property_change_t change,
                                void* arg);
    static void serverShutdown(jack_status_t code, const char* reason, void* arg);
    // Opens a client for the current client reference and installs it with every endpoint's
    // port; no state lock is held while the server is asked. False when there is no server.
    bool connectClient();
    void dropDeadClient();
    jack_client_t* ownPorts(std::vector<JackReconnectService::OwnPort>* out);
    jack_client_t* detachClient(); // with mutex_ held; the caller closes what it returns
    OSStatus createEndpoint(MIDIClientRef client, const QString& name, bool destination,
                            MIDIReadProc readProc, void* refCon,
                            MIDIEndpointRef* outEndpoint) override;
    jack_port_t* registerPort(jack_client_t* client, const Endpoint& e) const;
    void publish(Endpoint& e, jack_port_t* port); // with mutex_ held
    static void writeProperties(jack_client_t* client, const Endpoint& e);
    int freeSlot(bool destination) const;
    void notify(MIDINotificationMessageID id);

    // Serialises opening, closing and restoring (all of which ask the server), process-wide:
    // libjack breaks when one thread closes a client while another opens one. Never taken on
    // the send path.
    static inline std::mutex lifecycleMutex_;
    // The state below; never held while waiting for the server from the service thread.
    std::mutex mutex_;
    jack_client_t* client_ = nullptr;
    QString clientName_;
    MIDIClientRef clientRef_ = 0;
    EndpointTable<Endpoint> endpoints_;
    QHash<MIDIObjectRef, QString> foreignPorts_;
    bool serverLost_ = false;       // the next connection is the server coming back
    bool waitingForServer_ = false; // no server when the client was made
    std::atomic<MIDINotifyProc> notifyProc_{nullptr};
    std::atomic<void*> notifyRefCon_{nullptr};

    // Read by JACK's notification thread, which must never wait for the state lock.
    std::atomic<jack_client_t*> liveClient_{nullptr};
    std::atomic<uint64_t> generation_{0};

    JackRealtimeQueue queue_;
    JackReconnectService service_;
};
