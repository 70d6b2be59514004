#pragma once

#include "midi/EndpointIdentity.h"
#include "midi/MidiPacketList.h"
#include "midi/MidiServices.h"
#include "midi/MidiRoutes.h"

#include <QHash>
#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <semaphore.h>
#include <thread>

#include <jack/jack.h>
#include <jack/metadata.h>
#include <jack/ringbuffer.h>

// MIDI through a JACK server. The destination is a MIDI input port, the source a MIDI output
// port; unique ID and model are JACK metadata properties of the port. The real-time callback
// only moves events through lock-free ring buffers, one MIDI message per JACK event; a
// receive thread calls the read procedures. A service thread connects to the server when it
// appears (also after start-up without one), rebuilds the client and every endpoint under the
// same names and properties when it comes back, and restores the ports' remembered
// connections; none of that holds a lock the main thread waits on to send.
class JackMidiServices : public MidiServices {
public:
    static constexpr const char* kUniqueIDKey = "urn:x-midi:uniqueID";
    static constexpr const char* kModelKey = "urn:x-midi:model";

    JackMidiServices();
    ~JackMidiServices() override;
    static bool serverIsRunning();

    QString systemName() const override { return QStringLiteral("JACK"); }
    OSStatus clientCreate(const QString& name, MIDINotifyProc notifyProc, void* notifyRefCon,
                          MIDIClientRef* outClient) override;
    OSStatus clientDispose(MIDIClientRef client) override;
    OSStatus portDispose(MIDIPortRef port) override;
    OSStatus destinationCreate(MIDIClientRef client, const QString& name, MIDIReadProc readProc,
                               void* refCon, MIDIEndpointRef* outDest) override;
    OSStatus sourceCreate(MIDIClientRef client, const QString& name,
                          MIDIEndpointRef* outSrc) override;
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
    OSStatus portDisconnectSource(MIDIPortRef port, MIDIEndpointRef source) override;
    OSStatus received(MIDIEndpointRef source, const MidiPacketList& list) override;

private:
    static constexpr int kSlots = 8;
    struct Endpoint : EndpointIdentity {
        int slot = -1; // index into inPorts_/readTargets_ or outPorts_
        jack_port_t* port = nullptr;
    };
    struct ReadTarget {
        std::atomic<MIDIReadProc> proc{nullptr};
        std::atomic<void*> refCon{nullptr};
    };
    struct RingFree {
        void operator()(jack_ringbuffer_t* r) const;
    };

    static int process(jack_nframes_t nframes, void* arg);
    static void portRegistered(jack_port_id_t port, int registered, void* arg);
    static void portConnected(jack_port_id_t a, jack_port_id_t b, int connect, void* arg);
    static void propertyChanged(jack_uuid_t subject, const char* key, jack_property_change_t change,
                                void* arg);
    static void serverShutdown(jack_status_t code, const char* reason, void* arg);
    void receiveLoop();
    void serviceLoop();
    // Opens a client for the current client reference and installs it with every endpoint's
    // port; no state lock is held while the server is asked. False when there is no server.
    bool connectClient();
    void dropDeadClient();
    void restoreRoutes();
    void judgeDisconnections();
    jack_client_t* detachClient(); // with mutex_ held; the caller closes what it returns
    OSStatus createEndpoint(MIDIClientRef client, const QString& name, bool destination,
                            MIDIReadProc readProc, void* refCon, MIDIEndpointRef* outEndpoint);
    jack_port_t* registerPort(jack_client_t* client, const Endpoint& e) const;
    void publish(Endpoint& e, jack_port_t* port); // with mutex_ held
    static void writeProperties(jack_client_t* client, const Endpoint& e);
    int freeSlot(bool destination) const;
    int sourceSlot(MIDIEndpointRef source) const;
    Endpoint* endpoint(MIDIObjectRef ref);
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
    MIDIObjectRef nextRef_ = 1;
    QHash<MIDIObjectRef, Endpoint> endpoints_;
    QHash<MIDIObjectRef, QString> foreignPorts_;
    bool serverLost_ = false;       // the next connection is the server coming back
    bool waitingForServer_ = false; // no server when the client was made
    std::atomic<MIDINotifyProc> notifyProc_{nullptr};
    std::atomic<void*> notifyRefCon_{nullptr};

    // Read by JACK's notification thread, which must never wait for the state lock.
    std::atomic<jack_client_t*> liveClient_{nullptr};
    std::atomic<uint64_t> generation_{0};
    std::atomic<bool> restorePending_{false};
    MidiRoutes routes_;

    // Touched by the real-time thread.
    std::array<std::atomic<jack_port_t*>, kSlots> inPorts_{};
    std::array<std::atomic<jack_port_t*>, kSlots> outPorts_{};
    std::array<std::atomic<MIDIEndpointRef>, kSlots> outRefs_{}; // the send path's lookup
    std::array<ReadTarget, kSlots> readTargets_{};
    std::unique_ptr<jack_ringbuffer_t, RingFree> inRing_, outRing_;
    std::mutex outWriteMutex_; // producers of outRing_ (never the real-time thread)
    std::atomic<size_t> maxEventSize_{0};
    std::atomic<uint64_t> dropped_{0};
    sem_t inputReady_;

    std::atomic<bool> serverGone_{false};
    std::atomic<bool> stopping_{false};
    std::thread receiver_;
    std::thread service_;
    MidiPacketList scratch_; // receive thread only
};
