#pragma once

#include "midi/EndpointIdentity.h"
#include "midi/MidiPacketList.h"
#include "midi/MidiServices.h"

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
// only moves events through lock-free ring buffers; a receive thread calls the read
// procedures. When the server goes away, a watchdog waits for it and rebuilds the client and
// every endpoint under the same names and properties.
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
    static void propertyChanged(jack_uuid_t subject, const char* key, jack_property_change_t change,
                                void* arg);
    static void serverShutdown(jack_status_t code, const char* reason, void* arg);
    void receiveLoop();
    void watchdogLoop();
    OSStatus createEndpoint(MIDIClientRef client, const QString& name, bool destination,
                            MIDIReadProc readProc, void* refCon, MIDIEndpointRef* outEndpoint);
    bool openClient();              // with mutex_ held
    void closeClient();             // with mutex_ held
    bool registerPort(Endpoint& e); // with mutex_ held
    void writeProperties(const Endpoint& e);
    int freeSlot(bool destination) const;
    Endpoint* endpoint(MIDIObjectRef ref);
    void notify(MIDINotificationMessageID id);

    std::mutex mutex_;
    jack_client_t* client_ = nullptr;
    QString clientName_;
    MIDIClientRef clientRef_ = 0;
    MIDIObjectRef nextRef_ = 1;
    QHash<MIDIObjectRef, Endpoint> endpoints_;
    QHash<MIDIObjectRef, QString> foreignPorts_;
    std::atomic<MIDINotifyProc> notifyProc_{nullptr};
    std::atomic<void*> notifyRefCon_{nullptr};

    // Touched by the real-time thread.
    std::array<std::atomic<jack_port_t*>, kSlots> inPorts_{};
    std::array<std::atomic<jack_port_t*>, kSlots> outPorts_{};
    std::array<ReadTarget, kSlots> readTargets_{};
    std::unique_ptr<jack_ringbuffer_t, RingFree> inRing_, outRing_;
    std::mutex outWriteMutex_; // producers of outRing_ (never the real-time thread)
    std::atomic<uint64_t> dropped_{0};
    sem_t inputReady_;

    std::atomic<bool> serverGone_{false};
    std::atomic<bool> stopping_{false};
    std::thread receiver_;
    std::thread watchdog_;
    MidiPacketList scratch_; // receive thread only
};
