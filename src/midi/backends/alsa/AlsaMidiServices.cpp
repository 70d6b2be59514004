#include "midi/backends/alsa/AlsaMidiServices.h"

#include "midi/MidiLog.h"

#include "midi/backends/alsa/AlsaMidiCodec.h"

#include <alsa/asoundlib.h>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <vector>

namespace {
constexpr size_t kMaxEvent = 0x10000;
constexpr int kTickMs = 100;

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
    // The receive thread takes the mutex for each event: wake it and join it with the mutex
    // released, so that it ends at once instead of at its next poll timeout.
    stopping_ = true;
    if (wakeFd_ >= 0) {
        const uint64_t one = 1;
        [[maybe_unused]] auto n = ::write(wakeFd_, &one, sizeof one);
    }
    std::thread receiver = std::move(receiver_);
    lock.unlock();
    if (receiver.joinable()) receiver.join();
    lock.lock();
    stopping_ = false;
    {
        std::lock_guard io(ioMutex_);
        codec_.reset();
        inputCodec_.reset();
        if (seq_) snd_seq_close(std::exchange(seq_, nullptr)); // its ports go with it
    }
    if (wakeFd_ >= 0) ::close(std::exchange(wakeFd_, -1));
    endpoints_.clear();
    clientRef_ = 0;
    ++generation_;
}

OSStatus AlsaMidiServices::clientCreate(const QString& name, MIDINotifyProc notifyProc,
                                        void* notifyRefCon, MIDIClientRef* outClient) {
    std::lock_guard lock(mutex_);
    if (seq_) return kMIDIInvalidClient;
    snd_seq_t* seq = nullptr;
    if (snd_seq_open(&seq, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK) < 0)
        return kMIDIServerStartErr;
    auto codec = AlsaMidiCodec::create();
    auto inputCodec = AlsaMidiCodec::create();
    const int wake = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (!codec || !inputCodec || wake < 0) {
        qCWarning(lcAlsa) << "Could not set up the ALSA MIDI encoder, decoder or wake-up; no "
                             "ALSA client made.";
        if (wake >= 0) ::close(wake);
        snd_seq_close(seq);
        return kMIDIServerStartErr;
    }
    {
        std::lock_guard io(ioMutex_);
        seq_ = seq;
        codec_ = std::move(codec);
        inputCodec_ = std::move(inputCodec);
    }
    wakeFd_ = wake;
    snd_seq_set_client_name(seq_, name.toUtf8().constData());
    // Ours alone: not offered to other programs as something to connect to.
    announcePort_ = snd_seq_create_simple_port(seq_, "announcements",
                                               SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_NO_EXPORT,
                                               SND_SEQ_PORT_TYPE_APPLICATION);
    if (announcePort_ >= 0)
        snd_seq_connect_from(seq_, announcePort_, SND_SEQ_CLIENT_SYSTEM,
                             SND_SEQ_PORT_SYSTEM_ANNOUNCE);
    notifyProc_ = notifyProc;
    notifyRefCon_ = notifyRefCon;
    clientRef_ = endpoints_.newRef();
    ++generation_;
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

OSStatus AlsaMidiServices::createEndpoint(MIDIClientRef client, const QString& name,
                                          bool destination, MIDIReadProc readProc, void* refCon,
                                          MIDIEndpointRef* outEndpoint) {
    std::lock_guard lock(mutex_);
    if (!seq_ || client != clientRef_) return kMIDIInvalidClient;
    Endpoint e{{destination, name, false, 0, {}}, -1, readProc, refCon};
    const unsigned caps = destination ? SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE
                                      : SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ;
    {
        std::lock_guard io(ioMutex_);
        e.port = snd_seq_create_simple_port(seq_, name.toUtf8().constData(), caps,
                                            SND_SEQ_PORT_TYPE_MIDI_GENERIC |
                                                SND_SEQ_PORT_TYPE_APPLICATION);
    }
    if (e.port < 0) return kMIDIInvalidPort;
    const MIDIEndpointRef ref = endpoints_.insert(e);
    if (outEndpoint) *outEndpoint = ref;
    keeper_.requestRestore(); // a rebuilt port gets its remembered subscriptions back
    return kMidiNoErr;
}

OSStatus AlsaMidiServices::objectSetIntegerProperty(MIDIObjectRef obj, MidiProperty property,
                                                    int32_t value) {
    std::lock_guard lock(mutex_);
    return property == MidiProperty::UniqueID ? endpoints_.setUniqueID(obj, value)
                                              : kMIDIObjectNotFound;
}

OSStatus AlsaMidiServices::objectGetIntegerProperty(MIDIObjectRef obj, MidiProperty property,
                                                    int32_t* outValue) {
    std::lock_guard lock(mutex_);
    return property == MidiProperty::UniqueID ? endpoints_.uniqueID(obj, outValue)
                                              : kMIDIObjectNotFound;
}

OSStatus AlsaMidiServices::objectSetStringProperty(MIDIObjectRef obj, MidiProperty property,
                                                   const QString& value) {
    std::lock_guard lock(mutex_);
    return property == MidiProperty::Model ? endpoints_.setModel(obj, value) : kMIDIObjectNotFound;
}

OSStatus AlsaMidiServices::objectGetStringProperty(MIDIObjectRef obj, MidiProperty property,
                                                   QString* outValue) {
    std::lock_guard lock(mutex_);
    const Endpoint* e = endpoints_.find(obj);
    if (!e) return kMIDIObjectNotFound;
    *outValue = property == MidiProperty::Model ? e->model : e->name;
    return kMidiNoErr;
}

OSStatus AlsaMidiServices::objectFindByUniqueID(MIDIUniqueID id, MIDIObjectRef* outObject,
                                                MIDIObjectType* outType) {
    if (outObject) *outObject = 0;
    std::lock_guard lock(mutex_);
    if (endpoints_.findByUniqueID(id, outObject, outType)) return kMidiNoErr;
    return kMIDIObjectNotFound;
}

OSStatus AlsaMidiServices::received(MIDIEndpointRef source, const MidiPacketList& list) {
    int port = -1;
    {
        std::lock_guard lock(mutex_);
        const Endpoint* e = endpoints_.find(source);
        if (!seq_ || !e || e->destination) return kMIDIInvalidPort;
        port = e->port;
    }
    std::lock_guard io(ioMutex_);
    if (!seq_ || !codec_) return kMIDIInvalidPort;
    int failure = 0;
    list.forEachPacket([&](const MidiPacketList::Packet& packet) {
        codec_->encode(packet.data, packet.length, [&](const snd_seq_event_t& encoded) {
            snd_seq_event_t ev = encoded;
            snd_seq_ev_set_source(&ev, port);
            snd_seq_ev_set_subs(&ev);
            snd_seq_ev_set_direct(&ev);
            if (const int rc = snd_seq_event_output_direct(seq_, &ev); rc < 0) failure = rc;
        });
    });
    if (failure < 0)
        qCWarning(lcAlsa).noquote() << "ALSA did not take a MIDI event:" << snd_strerror(failure);
    return kMidiNoErr;
}

void AlsaMidiServices::announcement(const snd_seq_event_t& ev) {
    MIDINotificationMessageID id = kMIDIMsgSetupChanged;
    switch (ev.type) {
    case SND_SEQ_EVENT_PORT_START:
        id = kMIDIMsgObjectAdded;
        keeper_.requestRestore(); // a remembered peer may be back
        break;
    case SND_SEQ_EVENT_PORT_EXIT:
        id = kMIDIMsgObjectRemoved;
        break;
    case SND_SEQ_EVENT_PORT_CHANGE:
        id = kMIDIMsgPropertyChanged;
        break;
    case SND_SEQ_EVENT_PORT_SUBSCRIBED:
    case SND_SEQ_EVENT_PORT_UNSUBSCRIBED:
        keeper_.subscriptionChanged(ev, ev.type == SND_SEQ_EVENT_PORT_SUBSCRIBED);
        break;
    default:
        break;
    }
    if (notifyProc_) {
        const MIDINotification message{id, sizeof(MIDINotification)};
        notifyProc_(&message, notifyRefCon_);
    }
}

void AlsaMidiServices::receiveLoop() {
    std::vector<uint8_t> bytes(kMaxEvent);
    std::vector<pollfd> fds;
    {
        std::lock_guard io(ioMutex_);
        const int n = snd_seq_poll_descriptors_count(seq_, POLLIN);
        fds.resize(size_t(n));
        snd_seq_poll_descriptors(seq_, fds.data(), unsigned(n), POLLIN);
    }
    fds.push_back({wakeFd_, POLLIN, 0});
    bool reportedError = false;
    while (!stopping_.load()) {
        const int ready = poll(fds.data(), fds.size(), kTickMs);
        if (ready < 0 && errno != EINTR) {
            qCWarning(lcAlsa).noquote() << "Waiting for ALSA MIDI input failed:" << strerror(errno);
            usleep(kTickMs * 1000);
        }
        if (fds.back().revents & POLLIN) {
            uint64_t count;
            [[maybe_unused]] auto n = ::read(wakeFd_, &count, sizeof count);
        }
        bool error = false;
        for (size_t i = 0; i + 1 < fds.size(); ++i)
            error = error || (fds[i].revents & (POLLERR | POLLNVAL));
        if (error && !std::exchange(reportedError, true))
            qCWarning(lcAlsa) << "The ALSA sequencer reported an error on Gigmora's input.";
        if (!error) reportedError = false;
        for (;;) {
            snd_seq_event_t* ev = nullptr;
            int rc;
            {
                std::lock_guard io(ioMutex_);
                rc = snd_seq_event_input(seq_, &ev);
            }
            if (rc == -ENOSPC) {
                qCWarning(lcAlsa) << "ALSA MIDI input overran: some events were lost.";
                continue;
            }
            if (rc < 0 || !ev) break;
            if (ev->dest.port == announcePort_) {
                announcement(*ev);
                continue;
            }
            MIDIReadProc proc = nullptr;
            void* refCon = nullptr;
            {
                std::lock_guard lock(mutex_);
                for (const auto& e : endpoints_.all())
                    if (e.destination && e.port == ev->dest.port) {
                        proc = e.readProc;
                        refCon = e.refCon;
                    }
            }
            if (!proc) continue;
            const size_t n = inputCodec_->decode(*ev, bytes.data(), bytes.size());
            if (n == 0) continue;
            scratch_.clear();
            scratch_.addPacket(0, bytes.data(), static_cast<uint16_t>(n));
            proc(scratch_.data(), scratch_.size(), refCon, nullptr);
        }
        if (error) usleep(kTickMs * 1000); // no busy loop while the error lasts
        keeper_.tick();
    }
}
