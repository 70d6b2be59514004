#pragma once

#include "midi/EndpointTable.h"
#include "midi/MidiPacketList.h"
#include "midi/MidiServices.h"
#include "midi/backends/alsa/AlsaConnectionKeeper.h"

#include <QHash>
#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

typedef struct _snd_seq snd_seq_t;
typedef struct snd_seq_event snd_seq_event_t;
class AlsaMidiCodec;

// MIDI through the ALSA sequencer: one client with a writable port (the destination) and a
// readable port (the source). ALSA has no place for a unique ID or model, so this backend
// keeps them for its own ports. A receive thread calls the read procedures, turns the
// system's port announcements into notifications, and has the keeper remember and restore the
// subscriptions of our ports.
class AlsaMidiServices : public MidiServices {
public:
    AlsaMidiServices();
    ~AlsaMidiServices() override;
    static bool sequencerIsAvailable();

    QString systemName() const override { return QStringLiteral("ALSA"); }
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
    friend class AlsaConnectionKeeper; // reads our ports and asks the sequencer under our locks

    struct Endpoint : EndpointIdentity {
        int port = -1;
        MIDIReadProc readProc = nullptr;
        void* refCon = nullptr;
    };
    OSStatus createEndpoint(MIDIClientRef client, const QString& name, bool destination,
                            MIDIReadProc readProc, void* refCon,
                            MIDIEndpointRef* outEndpoint) override;
    void receiveLoop();
    void announcement(const snd_seq_event_t& ev);
    void closeClient(std::unique_lock<std::mutex>& lock); // with mutex_ held through `lock`

    std::mutex mutex_;   // the state below
    std::mutex ioMutex_; // the sequencer handle, shared by the receive thread and senders
    snd_seq_t* seq_ = nullptr;
    std::unique_ptr<AlsaMidiCodec> codec_;      // senders only, under ioMutex_
    std::unique_ptr<AlsaMidiCodec> inputCodec_; // receive thread only
    int announcePort_ = -1;
    int wakeFd_ = -1;
    MIDIClientRef clientRef_ = 0;
    EndpointTable<Endpoint> endpoints_;
    MIDINotifyProc notifyProc_ = nullptr;
    void* notifyRefCon_ = nullptr;
    uint64_t generation_ = 0; // which build of our ports is live
    AlsaConnectionKeeper keeper_{*this};
    std::atomic<bool> stopping_{false};
    std::thread receiver_;
    MidiPacketList scratch_;
};
