#include "midi/backends/jack/JackMidiServices.h"

#include "midi/MidiLog.h"

#include "midi/MidiMessageSplitter.h"

#include <cerrno>
#include <cstring>
#include <jack/jack.h>
#include <jack/metadata.h>
#include <jack/midiport.h>
#include <jack/ringbuffer.h>
#include <jack/uuid.h>
#include <time.h>

namespace {
constexpr size_t kRingSize = 1 << 20;
constexpr size_t kEventHeader = 3; // slot byte, 16-bit size
constexpr int kTickMs = 50;
constexpr int kReconnectMs = 500;
// How long after a disconnection we look whether a port went away with it.
constexpr int kJudgeAfterMs = 500;
// What a JACK MIDI buffer needs besides the event's bytes (its header and one event record),
// with room to spare.
constexpr size_t kBufferOverhead = 64;
constexpr const char* kIntegerType = "http://www.w3.org/2001/XMLSchema#integer";

void quietJackError(const char* message) {
    qCDebug(lcJack) << message;
}

struct JackFree {
    void operator()(void* p) const { jack_free(p); }
};

// A metadata property of a port, or an empty string.
QString portProperty(jack_client_t* client, const char* portName, const char* key) {
    jack_port_t* port = jack_port_by_name(client, portName);
    if (!port) return {};
    char* value = nullptr;
    char* type = nullptr;
    if (jack_get_property(jack_port_uuid(port), key, &value, &type) != 0) return {};
    QString out = QString::fromUtf8(value ? value : "");
    jack_free(value);
    jack_free(type);
    return out;
}

int64_t nowMs() {
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return int64_t(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

void sleepMs(int ms) {
    struct timespec ts {
        ms / 1000, (ms % 1000) * 1000000L
    };
    nanosleep(&ts, nullptr);
}
} // namespace

void JackMidiServices::RingFree::operator()(jack_ringbuffer_t* r) const {
    if (r) jack_ringbuffer_free(r);
}

bool JackMidiServices::serverIsRunning() {
    jack_set_error_function(quietJackError);
    jack_set_info_function(quietJackError);
    std::lock_guard lifecycle(lifecycleMutex_);
    jack_status_t status;
    jack_client_t* probe = jack_client_open("gigmora-probe", JackNoStartServer, &status);
    if (!probe) return false;
    jack_client_close(probe);
    return true;
}

JackMidiServices::JackMidiServices()
    : inRing_(jack_ringbuffer_create(kRingSize)), outRing_(jack_ringbuffer_create(kRingSize)) {
    jack_ringbuffer_mlock(inRing_.get());
    jack_ringbuffer_mlock(outRing_.get());
    sem_init(&inputReady_, 0, 0);
    jack_set_error_function(quietJackError);
    jack_set_info_function(quietJackError);
    receiver_ = std::thread([this] { receiveLoop(); });
    service_ = std::thread([this] { serviceLoop(); });
}

JackMidiServices::~JackMidiServices() {
    stopping_ = true;
    sem_post(&inputReady_);
    if (service_.joinable()) service_.join();
    jack_client_t* last = nullptr;
    {
        std::lock_guard lifecycle(lifecycleMutex_);
        std::lock_guard lock(mutex_);
        last = detachClient();
    }
    if (last) jack_client_close(last);
    if (receiver_.joinable()) receiver_.join();
    sem_destroy(&inputReady_);
}

// Real-time thread: no allocation, no lock, no system call but sem_post.
int JackMidiServices::process(jack_nframes_t nframes, void* arg) {
    auto* self = static_cast<JackMidiServices*>(arg);
    bool any = false;
    for (int slot = 0; slot < kSlots; ++slot) {
        jack_port_t* port = self->inPorts_[slot].load(std::memory_order_acquire);
        if (!port) continue;
        void* buffer = jack_port_get_buffer(port, nframes);
        const uint32_t n = jack_midi_get_event_count(buffer);
        for (uint32_t k = 0; k < n; ++k) {
            jack_midi_event_t ev;
            if (jack_midi_event_get(&ev, buffer, k) != 0 || ev.size > 0xFFFF) continue;
            if (jack_ringbuffer_write_space(self->inRing_.get()) < kEventHeader + ev.size) {
                self->dropped_.fetch_add(1, std::memory_order_relaxed);
                continue;
            }
            const uint8_t slotByte = static_cast<uint8_t>(slot);
            const uint16_t size = static_cast<uint16_t>(ev.size);
            jack_ringbuffer_write(self->inRing_.get(), reinterpret_cast<const char*>(&slotByte), 1);
            jack_ringbuffer_write(self->inRing_.get(), reinterpret_cast<const char*>(&size), 2);
            jack_ringbuffer_write(self->inRing_.get(), reinterpret_cast<const char*>(ev.buffer),
                                  ev.size);
            any = true;
        }
    }
    if (any) sem_post(&self->inputReady_);

    std::array<void*, kSlots> outBuffers{};
    std::array<bool, kSlots> written{};
    for (int slot = 0; slot < kSlots; ++slot)
        if (jack_port_t* port = self->outPorts_[slot].load(std::memory_order_acquire)) {
            outBuffers[slot] = jack_port_get_buffer(port, nframes);
            jack_midi_clear_buffer(outBuffers[slot]);
        }
    jack_ringbuffer_t* ring = self->outRing_.get();
    while (jack_ringbuffer_read_space(ring) >= kEventHeader) {
        char header[kEventHeader];
        jack_ringbuffer_peek(ring, header, kEventHeader);
        uint16_t size;
        std::memcpy(&size, header + 1, 2);
        if (jack_ringbuffer_read_space(ring) < kEventHeader + size) break;
        const int slot = static_cast<uint8_t>(header[0]);
        void* buffer = slot < kSlots ? outBuffers[slot] : nullptr;
        jack_midi_data_t* dst = buffer ? jack_midi_event_reserve(buffer, 0, size) : nullptr;
        if (buffer && !dst && written[slot])
            break; // the port's buffer is full this period: the rest goes out in the next one
        jack_ringbuffer_read_advance(ring, kEventHeader);
        if (dst) {
            jack_ringbuffer_read(ring, reinterpret_cast<char*>(dst), size);
            written[slot] = true;
        } else {
            // The port is gone, or the event does not fit even an empty buffer: it never
            // will, and must not hold up the events behind it.
            jack_ringbuffer_read_advance(ring, size);
            if (buffer) self->dropped_.fetch_add(1, std::memory_order_relaxed);
        }
    }
    return 0;
}

void JackMidiServices::receiveLoop() {
    std::vector<uint8_t> data(0x10000);
    uint64_t reportedDrops = 0;
    while (!stopping_.load()) {
        // The real-time side can only count what it could not carry; say so here.
        if (const uint64_t drops = dropped_.load(); drops != reportedDrops) {
            qCWarning(lcJack).noquote()
                << drops - reportedDrops
                << "MIDI events were dropped: a JACK buffer was full or too small for them.";
            reportedDrops = drops;
        }
        struct timespec deadline;
        clock_gettime(CLOCK_REALTIME, &deadline);
        deadline.tv_nsec += 200 * 1000000L;
        if (deadline.tv_nsec >= 1000000000L) {
            deadline.tv_sec += 1;
            deadline.tv_nsec -= 1000000000L;
        }
        sem_timedwait(&inputReady_, &deadline);
        jack_ringbuffer_t* ring = inRing_.get();
        while (jack_ringbuffer_read_space(ring) >= kEventHeader) {
            char header[kEventHeader];
            jack_ringbuffer_peek(ring, header, kEventHeader);
            uint16_t size;
            std::memcpy(&size, header + 1, 2);
            if (jack_ringbuffer_read_space(ring) < kEventHeader + size)
                break; // the rest of this event is still being written
            jack_ringbuffer_read_advance(ring, kEventHeader);
            jack_ringbuffer_read(ring, reinterpret_cast<char*>(data.data()), size);
            const int slot = static_cast<uint8_t>(header[0]);
            if (slot >= kSlots) continue;
            MIDIReadProc proc = readTargets_[slot].proc.load(std::memory_order_acquire);
            if (!proc) continue;
            // One event, one packet list: that is how a sender's messages arrive.
            scratch_.clear();
            scratch_.addPacket(0, data.data(), size);
            proc(scratch_.data(), scratch_.size(), readTargets_[slot].refCon.load(), nullptr);
        }
    }
}

// JACK's notification thread: no state lock here (the main thread may hold it while it waits
// for the server, which waits for this thread).
void JackMidiServices::portRegistered(jack_port_id_t, int registered, void* arg) {
    auto* self = static_cast<JackMidiServices*>(arg);
    if (registered) self->restorePending_.store(true); // a remembered peer may be back
    self->notify(registered ? kMIDIMsgObjectAdded : kMIDIMsgObjectRemoved);
}

void JackMidiServices::portConnected(jack_port_id_t a, jack_port_id_t b, int connect, void* arg) {
    auto* self = static_cast<JackMidiServices*>(arg);
    jack_client_t* client = self->liveClient_.load();
    if (!client) return;
    jack_port_t* pa = jack_port_by_id(client, a);
    jack_port_t* pb = jack_port_by_id(client, b);
    if (!pa || !pb || jack_port_is_mine(client, pa) == jack_port_is_mine(client, pb)) return;
    jack_port_t* own = jack_port_is_mine(client, pa) ? pa : pb;
    jack_port_t* peer = own == pa ? pb : pa;
    const QString ownName = QString::fromUtf8(jack_port_short_name(own));
    const QString peerName = QString::fromUtf8(jack_port_name(peer));
    if (connect)
        self->routes_.connected(ownName, peerName);
    else
        self->routes_.disconnected(
            {ownName, peerName, jack_port_uuid(peer), self->generation_.load(), nowMs()});
}

void JackMidiServices::propertyChanged(jack_uuid_t, const char*, jack_property_change_t,
                                       void* arg) {
    static_cast<JackMidiServices*>(arg)->notify(kMIDIMsgPropertyChanged);
}

void JackMidiServices::serverShutdown(jack_status_t, const char*, void* arg) {
    static_cast<JackMidiServices*>(arg)->serverGone_.store(true);
}

void JackMidiServices::notify(MIDINotificationMessageID id) {
    if (MIDINotifyProc proc = notifyProc_.load()) {
        const MIDINotification message{id, sizeof(MIDINotification)};
        proc(&message, notifyRefCon_.load());
    }
}

jack_client_t* JackMidiServices::detachClient() {
    for (auto& slot : inPorts_)
        slot.store(nullptr);
    for (auto& slot : outPorts_)
        slot.store(nullptr);
    for (auto& e : endpoints_)
        e.port = nullptr;
    liveClient_.store(nullptr);
    ++generation_;
    return std::exchange(client_, nullptr);
}

jack_port_t* JackMidiServices::registerPort(jack_client_t* client, const Endpoint& e) const {
    jack_port_t* port =
        jack_port_register(client, e.name.toUtf8().constData(), JACK_DEFAULT_MIDI_TYPE,
                           e.destination ? JackPortIsInput : JackPortIsOutput, 0);
    if (!port) qCWarning(lcJack).noquote() << "Could not register the JACK port" << e.name;
    return port;
}

void JackMidiServices::publish(Endpoint& e, jack_port_t* port) {
    e.port = port;
    (e.destination ? inPorts_ : outPorts_)[e.slot].store(port, std::memory_order_release);
}

void JackMidiServices::writeProperties(jack_client_t* client, const Endpoint& e) {
    if (!client || !e.port) return;
    const jack_uuid_t uuid = jack_port_uuid(e.port);
    if (e.hasUniqueID)
        jack_set_property(client, uuid, kUniqueIDKey, QByteArray::number(e.uniqueID).constData(),
                          kIntegerType);
    if (!e.model.isNull())
        jack_set_property(client, uuid, kModelKey, e.model.toUtf8().constData(), "text/plain");
}

bool JackMidiServices::connectClient() {
    std::lock_guard lifecycle(lifecycleMutex_);
    QString name;
    MIDIClientRef ref = 0;
    QHash<MIDIObjectRef, Endpoint> wanted;
    {
        std::lock_guard lock(mutex_);
        if (clientRef_ == 0 || client_) return client_ != nullptr;
        name = clientName_;
        ref = clientRef_;
        wanted = endpoints_;
    }
    // Asking the server may take long when it is slow: no state lock meanwhile.
    jack_status_t status;
    jack_client_t* c = jack_client_open(name.toUtf8().constData(), JackNoStartServer, &status);
    if (!c) return false;
    jack_set_process_callback(c, &JackMidiServices::process, this);
    jack_set_port_registration_callback(c, &JackMidiServices::portRegistered, this);
    jack_set_port_connect_callback(c, &JackMidiServices::portConnected, this);
    jack_set_property_change_callback(c, &JackMidiServices::propertyChanged, this);
    jack_on_info_shutdown(c, &JackMidiServices::serverShutdown, this);
    for (auto& e : wanted)
        e.port = registerPort(c, e);
    maxEventSize_.store(jack_port_type_get_buffer_size(c, JACK_DEFAULT_MIDI_TYPE) -
                        kBufferOverhead);
    serverGone_ = false;
    if (jack_activate(c) != 0) {
        jack_client_close(c);
        return false;
    }
    // Only now the identities: a port found by its unique ID can be connected at once (JACK
    // refuses connections to a client that is not active yet).
    for (const auto& e : wanted)
        writeProperties(c, e);
    bool installed = false;
    QString news;
    {
        std::lock_guard lock(mutex_);
        if (clientRef_ == ref && !client_) {
            installed = true;
            client_ = c;
            liveClient_.store(c);
            ++generation_;
            for (auto it = wanted.begin(); it != wanted.end(); ++it)
                if (Endpoint* e = endpoint(it.key()); e && it->port) publish(*e, it->port);
            // Endpoints made while we were connecting get their ports now.
            for (auto& e : endpoints_)
                if (!e.port)
                    if (jack_port_t* port = registerPort(c, e)) {
                        publish(e, port);
                        writeProperties(c, e);
                    }
            if (std::exchange(serverLost_, false))
                news = "The JACK server is back; %1 and its ports are there again.";
            else if (std::exchange(waitingForServer_, false))
                news = "MIDI: a JACK server has started; %1 and its ports are up.";
        }
    }
    if (!installed) {
        jack_client_close(c); // disposed while we were connecting: not wanted any more
        return false;
    }
    if (!news.isEmpty()) qCWarning(lcJack).noquote() << news.arg(name);
    restorePending_.store(true);
    return true;
}

void JackMidiServices::dropDeadClient() {
    std::lock_guard lifecycle(lifecycleMutex_);
    jack_client_t* dead = nullptr;
    {
        std::lock_guard lock(mutex_);
        dead = detachClient();
    }
    if (!dead) return;
    {
        std::lock_guard lock(mutex_);
        serverLost_ = true;
    }
    qCWarning(lcJack).noquote() << "The JACK server went away; waiting for it to come back.";
    jack_client_close(dead);
}

void JackMidiServices::restoreRoutes() {
    std::lock_guard lifecycle(lifecycleMutex_);
    jack_client_t* c = nullptr;
    struct Own {
        QString shortName, fullName;
        bool destination;
        jack_port_t* port;
    };
    std::vector<Own> own;
    {
        std::lock_guard lock(mutex_);
        c = client_;
        for (const auto& e : endpoints_)
            if (e.port)
                own.push_back(
                    {e.name, QString::fromUtf8(jack_port_name(e.port)), e.destination, e.port});
    }
    if (!c) return;
    for (const Own& o : own)
        for (const QString& peer : routes_.peersOf(o.shortName)) {
            const QByteArray peerName = peer.toUtf8();
            if (!jack_port_by_name(c, peerName.constData()) ||
                jack_port_connected_to(o.port, peerName.constData()))
                continue;
            const QString& from = o.destination ? peer : o.fullName;
            const QString& to = o.destination ? o.fullName : peer;
            if (jack_connect(c, from.toUtf8().constData(), to.toUtf8().constData()) == 0)
                qCInfo(lcJack).noquote() << "Restored the MIDI connection" << from << "->" << to;
        }
}

void JackMidiServices::judgeDisconnections() {
    const auto due = routes_.takeDue(nowMs() - kJudgeAfterMs);
    if (due.empty()) return;
    std::lock_guard lifecycle(lifecycleMutex_);
    jack_client_t* c = liveClient_.load();
    for (const auto& d : due) {
        // Our ports were rebuilt since, or the peer went away: the route stays remembered.
        if (!c || d.generation != generation_.load()) {
            restorePending_.store(true);
            continue;
        }
        jack_port_t* peer = jack_port_by_name(c, d.peer.toUtf8().constData());
        if (peer && jack_port_uuid(peer) == d.peerId)
            routes_.forget(d.own, d.peer);
        else
            restorePending_.store(true); // kept: it may be back already
    }
}

void JackMidiServices::serviceLoop() {
    int64_t nextAttempt = 0;
    while (!stopping_.load()) {
        sleepMs(kTickMs);
        if (serverGone_.exchange(false)) dropDeadClient();
        bool wantsClient;
        {
            std::lock_guard lock(mutex_);
            wantsClient = clientRef_ != 0 && !client_;
        }
        if (wantsClient && nowMs() >= nextAttempt) {
            if (!connectClient()) nextAttempt = nowMs() + kReconnectMs;
        }
        if (restorePending_.exchange(false)) restoreRoutes();
        judgeDisconnections();
    }
}

int JackMidiServices::freeSlot(bool destination) const {
    for (int s = 0; s < kSlots; ++s) {
        bool used = false;
        for (const auto& e : endpoints_)
            used = used || (e.destination == destination && e.slot == s);
        if (!used) return s;
    }
    return -1;
}

int JackMidiServices::sourceSlot(MIDIEndpointRef source) const {
    for (int s = 0; s < kSlots; ++s)
        if (source != 0 && outRefs_[s].load(std::memory_order_acquire) == source) return s;
    return -1;
}

JackMidiServices::Endpoint* JackMidiServices::endpoint(MIDIObjectRef ref) {
    auto it = endpoints_.find(ref);
    return it == endpoints_.end() ? nullptr : &*it;
}

OSStatus JackMidiServices::clientCreate(const QString& name, MIDINotifyProc notifyProc,
                                        void* notifyRefCon, MIDIClientRef* outClient) {
    {
        std::lock_guard lock(mutex_);
        if (clientRef_ != 0) return kMIDIInvalidClient; // one client per process is all we need
        clientName_ = name;
        notifyProc_ = notifyProc;
        notifyRefCon_ = notifyRefCon;
        clientRef_ = nextRef_++;
        if (outClient) *outClient = clientRef_;
    }
    // With no server yet the client still exists: the service thread connects it, with
    // every endpoint made meanwhile, as soon as a server appears.
    if (!connectClient()) {
        std::lock_guard lock(mutex_);
        if (!std::exchange(waitingForServer_, true))
            qCWarning(lcJack).noquote() << "MIDI: no JACK server is running yet;" << name
                                        << "connects as soon as one starts.";
    }
    return kMidiNoErr;
}

OSStatus JackMidiServices::clientDispose(MIDIClientRef client) {
    jack_client_t* old = nullptr;
    std::lock_guard lifecycle(lifecycleMutex_);
    {
        std::lock_guard lock(mutex_);
        if (client == 0 || client != clientRef_) return kMIDIInvalidClient;
        old = detachClient();
        for (auto& t : readTargets_) {
            t.proc.store(nullptr);
            t.refCon.store(nullptr);
        }
        for (auto& r : outRefs_)
            r.store(0);
        endpoints_.clear();
        foreignPorts_.clear();
        clientRef_ = 0;
        notifyProc_ = nullptr;
    }
    if (old) {
        jack_deactivate(old);
        jack_client_close(old);
    }
    return kMidiNoErr;
}

OSStatus JackMidiServices::portDispose(MIDIPortRef port) {
    return port == 0 ? kMidiNoErr : kMIDIInvalidPort;
}

OSStatus JackMidiServices::createEndpoint(MIDIClientRef client, const QString& name,
                                          bool destination, MIDIReadProc readProc, void* refCon,
                                          MIDIEndpointRef* outEndpoint) {
    std::lock_guard lock(mutex_);
    if (client == 0 || client != clientRef_) return kMIDIInvalidClient;
    Endpoint e;
    e.destination = destination;
    e.name = name;
    e.slot = freeSlot(destination);
    if (e.slot < 0) return kMIDIInvalidPort;
    if (destination) {
        // Set before the port exists, so that no event can arrive without a reader.
        readTargets_[e.slot].refCon.store(refCon);
        readTargets_[e.slot].proc.store(readProc, std::memory_order_release);
    }
    const MIDIEndpointRef ref = nextRef_++;
    if (client_) {
        jack_port_t* port = registerPort(client_, e);
        if (!port) {
            if (destination) readTargets_[e.slot].proc.store(nullptr);
            return kMIDIInvalidPort;
        }
        publish(e, port);
        restorePending_.store(true);
    } // else the port comes with the client, when the server does
    if (!destination) outRefs_[e.slot].store(ref, std::memory_order_release);
    endpoints_.insert(ref, e);
    if (outEndpoint) *outEndpoint = ref;
    return kMidiNoErr;
}

OSStatus JackMidiServices::destinationCreate(MIDIClientRef client, const QString& name,
                                             MIDIReadProc readProc, void* refCon,
                                             MIDIEndpointRef* outDest) {
    return createEndpoint(client, name, true, readProc, refCon, outDest);
}

OSStatus JackMidiServices::sourceCreate(MIDIClientRef client, const QString& name,
                                        MIDIEndpointRef* outSrc) {
    return createEndpoint(client, name, false, nullptr, nullptr, outSrc);
}

OSStatus JackMidiServices::objectSetIntegerProperty(MIDIObjectRef obj, MidiProperty property,
                                                    int32_t value) {
    std::lock_guard lock(mutex_);
    if (property != MidiProperty::UniqueID) return kMIDIUnknownProperty;
    if (Endpoint* e = endpoint(obj)) {
        e->hasUniqueID = true;
        e->uniqueID = value;
        writeProperties(client_, *e);
        return kMidiNoErr;
    }
    if (foreignPorts_.contains(obj) && client_) {
        if (jack_port_t* p = jack_port_by_name(client_, foreignPorts_[obj].toUtf8().constData()))
            return jack_set_property(client_, jack_port_uuid(p), kUniqueIDKey,
                                     QByteArray::number(value).constData(), kIntegerType);
    }
    return kMIDIObjectNotFound;
}

OSStatus JackMidiServices::objectGetIntegerProperty(MIDIObjectRef obj, MidiProperty property,
                                                    int32_t* outValue) {
    std::lock_guard lock(mutex_);
    if (property != MidiProperty::UniqueID) return kMIDIUnknownProperty;
    if (Endpoint* e = endpoint(obj); e && e->hasUniqueID) {
        *outValue = e->uniqueID;
        return kMidiNoErr;
    }
    if (foreignPorts_.contains(obj) && client_) {
        bool ok = false;
        const int v =
            portProperty(client_, foreignPorts_[obj].toUtf8().constData(), kUniqueIDKey).toInt(&ok);
        if (ok) {
            *outValue = v;
            return kMidiNoErr;
        }
    }
    return kMIDIObjectNotFound;
}

OSStatus JackMidiServices::objectSetStringProperty(MIDIObjectRef obj, MidiProperty property,
                                                   const QString& value) {
    std::lock_guard lock(mutex_);
    if (property != MidiProperty::Model) return kMIDIUnknownProperty;
    if (Endpoint* e = endpoint(obj)) {
        e->model = value;
        writeProperties(client_, *e);
        return kMidiNoErr;
    }
    return kMIDIObjectNotFound;
}

OSStatus JackMidiServices::objectGetStringProperty(MIDIObjectRef obj, MidiProperty property,
                                                   QString* outValue) {
    std::lock_guard lock(mutex_);
    QByteArray portName;
    if (Endpoint* e = endpoint(obj)) {
        if (property == MidiProperty::Model) {
            *outValue = e->model;
            return e->model.isNull() ? kMIDIUnknownProperty : kMidiNoErr;
        }
        if (!e->port) {
            *outValue = e->name;
            return kMidiNoErr;
        }
        portName = jack_port_name(e->port);
    } else if (foreignPorts_.contains(obj)) {
        portName = foreignPorts_[obj].toUtf8();
    } else {
        return kMIDIObjectNotFound;
    }
    if (!client_) return kMIDIObjectNotFound;
    if (property == MidiProperty::Model) {
        *outValue = portProperty(client_, portName.constData(), kModelKey);
        return kMidiNoErr;
    }
    QString pretty;
    if (property == MidiProperty::DisplayName)
        pretty = portProperty(client_, portName.constData(), JACK_METADATA_PRETTY_NAME);
    if (pretty.isEmpty()) {
        jack_port_t* p = jack_port_by_name(client_, portName.constData());
        pretty = p ? QString::fromUtf8(jack_port_short_name(p)) : QString();
    }
    if (pretty.isEmpty()) return kMIDIObjectNotFound;
    *outValue = pretty;
    return kMidiNoErr;
}

OSStatus JackMidiServices::objectFindByUniqueID(MIDIUniqueID id, MIDIObjectRef* outObject,
                                                MIDIObjectType* outType) {
    if (outObject) *outObject = 0;
    std::lock_guard lock(mutex_);
    if (EndpointIdentity::find(endpoints_, id, outObject, outType)) return kMidiNoErr;
    if (!client_) return kMIDIObjectNotFound;
    std::unique_ptr<const char*, JackFree> ports(
        jack_get_ports(client_, nullptr, JACK_DEFAULT_MIDI_TYPE, 0));
    for (const char** p = ports.get(); p && *p; ++p) {
        bool ok = false;
        if (portProperty(client_, *p, kUniqueIDKey).toInt(&ok) != id || !ok) continue;
        const QString name = QString::fromUtf8(*p);
        MIDIObjectRef ref = foreignPorts_.key(name, 0);
        if (!ref) {
            ref = nextRef_++;
            foreignPorts_.insert(ref, name);
        }
        jack_port_t* port = jack_port_by_name(client_, *p);
        if (outObject) *outObject = ref;
        if (outType)
            *outType = port && (jack_port_flags(port) & JackPortIsInput)
                           ? kMIDIObjectType_Destination
                           : kMIDIObjectType_Source;
        return kMidiNoErr;
    }
    return kMIDIObjectNotFound;
}

OSStatus JackMidiServices::portDisconnectSource(MIDIPortRef, MIDIEndpointRef) {
    // This backend has no input ports to disconnect: input arrives at the destinations only.
    return kMIDIInvalidPort;
}

OSStatus JackMidiServices::received(MIDIEndpointRef source, const MidiPacketList& list) {
    // No state lock: sending never waits for the service thread or the server.
    const int slot = sourceSlot(source);
    if (slot < 0) return kMIDIInvalidPort;
    const size_t maxEvent = maxEventSize_.load();
    std::lock_guard lock(outWriteMutex_);
    list.forEachPacket([&](const MidiPacketList::Packet& packet) {
        MidiMessageSplitter::forEach(packet.data, packet.length, [&](const uint8_t* m, size_t n) {
            if (maxEvent != 0 && n > maxEvent) {
                qCWarning(lcJack).noquote()
                    << "A MIDI message of" << n << "bytes was not sent: a JACK MIDI buffer holds"
                    << maxEvent << "at the most.";
                return;
            }
            if (jack_ringbuffer_write_space(outRing_.get()) < kEventHeader + n) {
                dropped_.fetch_add(1);
                return;
            }
            const uint8_t slotByte = static_cast<uint8_t>(slot);
            const uint16_t size = static_cast<uint16_t>(n);
            jack_ringbuffer_write(outRing_.get(), reinterpret_cast<const char*>(&slotByte), 1);
            jack_ringbuffer_write(outRing_.get(), reinterpret_cast<const char*>(&size), 2);
            jack_ringbuffer_write(outRing_.get(), reinterpret_cast<const char*>(m), n);
        });
    });
    return kMidiNoErr;
}
