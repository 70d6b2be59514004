#include "midi/backends/alsa/AlsaMidiServices.h"

#include <alsa/asoundlib.h>
#include <poll.h>
#include <vector>

namespace {
constexpr size_t kMaxEvent = 0x10000;
}

namespace {
// alsa-lib prints its own errors to standard error; the backend reports in one line instead.
void quietAlsaError(const char*, int, const char*, int, const char*, ...) {}
} // namespace

bool AlsaMidiServices::sequencerIsAvailable() {
    snd_lib_error_set_handler(quietAlsaError);
    snd_seq_t* seq = nullptr;
    if (snd_seq_open(&seq, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK) < 0) return false;
    snd_seq_close(seq);
    return true;
}

AlsaMidiServices::AlsaMidiServices() = default;

AlsaMidiServices::~AlsaMidiServices() {
    std::unique_lock lock(mutex_);
    closeClient(lock);
}

void AlsaMidiServices::closeClient(std::unique_lock<std::mutex>& lock) {
    // The receive thread takes the mutex for each event: join it with the mutex released.
    stopping_ = true;
    std::thread receiver = std::move(receiver_);
    lock.unlock();
    if (receiver.joinable()) receiver.join();
    lock.lock();
    stopping_ = false;
    if (encoder_) snd_midi_event_free(std::exchange(encoder_, nullptr));
    if (decoder_) snd_midi_event_free(std::exchange(decoder_, nullptr));
    if (seq_) snd_seq_close(std::exchange(seq_, nullptr)); // its ports go with it
    endpoints_.clear();
    clientRef_ = 0;
}

OSStatus AlsaMidiServices::clientCreate(const QString& name, MIDINotifyProc notifyProc,
                                        void* notifyRefCon, MIDIClientRef* outClient) {
    std::lock_guard lock(mutex_);
    if (seq_) return kMIDIInvalidClient;
    if (snd_seq_open(&seq_, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK) < 0) {
        seq_ = nullptr;
        return kMIDIServerStartErr;
    }
    snd_seq_set_client_name(seq_, name.toUtf8().constData());
    snd_midi_event_new(kMaxEvent, &encoder_);
    snd_midi_event_new(kMaxEvent, &decoder_);
    snd_midi_event_no_status(decoder_, 1); // full status bytes, as senders wrote them
    announcePort_ = snd_seq_create_simple_port(seq_, "announcements", SND_SEQ_PORT_CAP_WRITE,
                                               SND_SEQ_PORT_TYPE_APPLICATION);
    if (announcePort_ >= 0)
        snd_seq_connect_from(seq_, announcePort_, SND_SEQ_CLIENT_SYSTEM,
                             SND_SEQ_PORT_SYSTEM_ANNOUNCE);
    notifyProc_ = notifyProc;
    notifyRefCon_ = notifyRefCon;
    clientRef_ = nextRef_++;
    if (outClient) *outClient = clientRef_;
    receiver_ = std::thread([this] { receiveLoop(); });
    return kMidiNoErr;
}

OSStatus AlsaMidiServices::clientDispose(MIDIClientRef client) {
    std::unique_lock lock(mutex_);
    if (client == 0 || client != clientRef_) return kMIDIInvalidClient;
    closeClient(lock);
    return kMidiNoErr;
}

OSStatus AlsaMidiServices::portDispose(MIDIPortRef port) {
    return port == 0 ? kMidiNoErr : kMIDIInvalidPort;
}

OSStatus AlsaMidiServices::createEndpoint(MIDIClientRef client, const QString& name,
                                          bool destination, MIDIReadProc readProc, void* refCon,
                                          MIDIEndpointRef* outEndpoint) {
    std::lock_guard lock(mutex_);
    if (!seq_ || client != clientRef_) return kMIDIInvalidClient;
    Endpoint e;
    e.destination = destination;
    e.name = name;
    e.readProc = readProc;
    e.refCon = refCon;
    const unsigned caps = destination ? SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE
                                      : SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ;
    e.port =
        snd_seq_create_simple_port(seq_, name.toUtf8().constData(), caps,
                                   SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_APPLICATION);
    if (e.port < 0) return kMIDIInvalidPort;
    const MIDIEndpointRef ref = nextRef_++;
    endpoints_.insert(ref, e);
    if (outEndpoint) *outEndpoint = ref;
    return kMidiNoErr;
}

OSStatus AlsaMidiServices::destinationCreate(MIDIClientRef client, const QString& name,
                                             MIDIReadProc readProc, void* refCon,
                                             MIDIEndpointRef* outDest) {
    return createEndpoint(client, name, true, readProc, refCon, outDest);
}

OSStatus AlsaMidiServices::sourceCreate(MIDIClientRef client, const QString& name,
                                        MIDIEndpointRef* outSrc) {
    return createEndpoint(client, name, false, nullptr, nullptr, outSrc);
}

OSStatus AlsaMidiServices::objectSetIntegerProperty(MIDIObjectRef obj, MidiProperty property,
                                                    int32_t value) {
    std::lock_guard lock(mutex_);
    auto it = endpoints_.find(obj);
    if (it == endpoints_.end() || property != MidiProperty::UniqueID) return kMIDIObjectNotFound;
    it->hasUniqueID = true;
    it->uniqueID = value;
    return kMidiNoErr;
}

OSStatus AlsaMidiServices::objectGetIntegerProperty(MIDIObjectRef obj, MidiProperty property,
                                                    int32_t* outValue) {
    std::lock_guard lock(mutex_);
    auto it = endpoints_.find(obj);
    if (it == endpoints_.end() || property != MidiProperty::UniqueID || !it->hasUniqueID)
        return kMIDIObjectNotFound;
    *outValue = it->uniqueID;
    return kMidiNoErr;
}

OSStatus AlsaMidiServices::objectSetStringProperty(MIDIObjectRef obj, MidiProperty property,
                                                   const QString& value) {
    std::lock_guard lock(mutex_);
    auto it = endpoints_.find(obj);
    if (it == endpoints_.end() || property != MidiProperty::Model) return kMIDIObjectNotFound;
    it->model = value;
    return kMidiNoErr;
}

OSStatus AlsaMidiServices::objectGetStringProperty(MIDIObjectRef obj, MidiProperty property,
                                                   QString* outValue) {
    std::lock_guard lock(mutex_);
    auto it = endpoints_.find(obj);
    if (it == endpoints_.end()) return kMIDIObjectNotFound;
    *outValue = property == MidiProperty::Model ? it->model : it->name;
    return kMidiNoErr;
}

OSStatus AlsaMidiServices::objectFindByUniqueID(MIDIUniqueID id, MIDIObjectRef* outObject,
                                                MIDIObjectType* outType) {
    if (outObject) *outObject = 0;
    std::lock_guard lock(mutex_);
    if (EndpointIdentity::find(endpoints_, id, outObject, outType)) return kMidiNoErr;
    return kMIDIObjectNotFound;
}

OSStatus AlsaMidiServices::portDisconnectSource(MIDIPortRef, MIDIEndpointRef) {
    return kMIDIInvalidPort;
}

OSStatus AlsaMidiServices::received(MIDIEndpointRef source, const MidiPacketList& list) {
    std::lock_guard lock(mutex_);
    auto it = endpoints_.find(source);
    if (!seq_ || it == endpoints_.end() || it->destination) return kMIDIInvalidPort;
    list.forEachPacket([&](const MidiPacketList::Packet& packet) {
        snd_midi_event_reset_encode(encoder_);
        long pos = 0;
        while (pos < packet.length) {
            snd_seq_event_t ev;
            snd_seq_ev_clear(&ev);
            const long used =
                snd_midi_event_encode(encoder_, packet.data + pos, packet.length - pos, &ev);
            if (used <= 0) break;
            pos += used;
            if (ev.type == SND_SEQ_EVENT_NONE) continue;
            snd_seq_ev_set_source(&ev, it->port);
            snd_seq_ev_set_subs(&ev);
            snd_seq_ev_set_direct(&ev);
            snd_seq_event_output_direct(seq_, &ev);
        }
    });
    return kMidiNoErr;
}

void AlsaMidiServices::receiveLoop() {
    std::vector<uint8_t> bytes(kMaxEvent);
    const int nfds = snd_seq_poll_descriptors_count(seq_, POLLIN);
    std::vector<pollfd> fds(nfds);
    snd_seq_poll_descriptors(seq_, fds.data(), nfds, POLLIN);
    while (!stopping_.load()) {
        if (poll(fds.data(), fds.size(), 200) <= 0) continue;
        snd_seq_event_t* ev = nullptr;
        while (snd_seq_event_input(seq_, &ev) >= 0 && ev) {
            if (ev->dest.port == announcePort_) {
                MIDINotificationMessageID id = kMIDIMsgSetupChanged;
                if (ev->type == SND_SEQ_EVENT_PORT_START)
                    id = kMIDIMsgObjectAdded;
                else if (ev->type == SND_SEQ_EVENT_PORT_EXIT)
                    id = kMIDIMsgObjectRemoved;
                else if (ev->type == SND_SEQ_EVENT_PORT_CHANGE)
                    id = kMIDIMsgPropertyChanged;
                if (notifyProc_) {
                    const MIDINotification message{id, sizeof(MIDINotification)};
                    notifyProc_(&message, notifyRefCon_);
                }
                continue;
            }
            MIDIReadProc proc = nullptr;
            void* refCon = nullptr;
            {
                std::lock_guard lock(mutex_);
                for (const auto& e : endpoints_)
                    if (e.destination && e.port == ev->dest.port) {
                        proc = e.readProc;
                        refCon = e.refCon;
                    }
            }
            if (!proc) continue;
            snd_midi_event_reset_decode(decoder_);
            const long n = snd_midi_event_decode(decoder_, bytes.data(), bytes.size(), ev);
            if (n <= 0) continue;
            scratch_.clear();
            scratch_.addPacket(0, bytes.data(), static_cast<uint16_t>(n));
            proc(scratch_.data(), scratch_.size(), refCon, nullptr);
        }
    }
}
