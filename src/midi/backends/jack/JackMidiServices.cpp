#include "midi/backends/jack/JackMidiServices.h"

#include <QLoggingCategory>
#include <cerrno>
#include <cstring>
#include <jack/jack.h>
#include <jack/metadata.h>
#include <jack/midiport.h>
#include <jack/ringbuffer.h>
#include <jack/uuid.h>
#include <time.h>

Q_LOGGING_CATEGORY(lcJack, "gigmora.midi.jack", QtInfoMsg)

namespace {
constexpr size_t kRingSize = 1 << 20;
constexpr size_t kEventHeader = 3; // slot byte, 16-bit size
constexpr int kReconnectMs = 500;
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
    watchdog_ = std::thread([this] { watchdogLoop(); });
}

JackMidiServices::~JackMidiServices() {
    stopping_ = true;
    sem_post(&inputReady_);
    if (watchdog_.joinable()) watchdog_.join();
    {
        std::lock_guard lock(mutex_);
        closeClient();
    }
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
        if (buffer && !dst)
            break; // the port's buffer is full this period: the rest goes out in the next one
        jack_ringbuffer_read_advance(ring, kEventHeader);
        if (dst)
            jack_ringbuffer_read(ring, reinterpret_cast<char*>(dst), size);
        else
            jack_ringbuffer_read_advance(ring, size); // the port is gone
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
                << "MIDI events were dropped: the JACK ring buffer was full.";
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

void JackMidiServices::portRegistered(jack_port_id_t, int registered, void* arg) {
    static_cast<JackMidiServices*>(arg)->notify(registered ? kMIDIMsgObjectAdded
                                                           : kMIDIMsgObjectRemoved);
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

bool JackMidiServices::openClient() {
    jack_status_t status;
    client_ = jack_client_open(clientName_.toUtf8().constData(), JackNoStartServer, &status);
    if (!client_) return false;
    jack_set_process_callback(client_, &JackMidiServices::process, this);
    jack_set_port_registration_callback(client_, &JackMidiServices::portRegistered, this);
    jack_set_property_change_callback(client_, &JackMidiServices::propertyChanged, this);
    jack_on_info_shutdown(client_, &JackMidiServices::serverShutdown, this);
    serverGone_ = false;
    for (auto& e : endpoints_)
        registerPort(e);
    if (jack_activate(client_) != 0) {
        closeClient();
        return false;
    }
    return true;
}

void JackMidiServices::closeClient() {
    for (auto& slot : inPorts_)
        slot.store(nullptr);
    for (auto& slot : outPorts_)
        slot.store(nullptr);
    if (client_) {
        jack_client_t* c = std::exchange(client_, nullptr);
        jack_deactivate(c);
        jack_client_close(c);
    }
    for (auto& e : endpoints_)
        e.port = nullptr;
}

bool JackMidiServices::registerPort(Endpoint& e) {
    if (!client_) return false;
    e.port = jack_port_register(client_, e.name.toUtf8().constData(), JACK_DEFAULT_MIDI_TYPE,
                                e.destination ? JackPortIsInput : JackPortIsOutput, 0);
    if (!e.port) return false;
    writeProperties(e);
    (e.destination ? inPorts_ : outPorts_)[e.slot].store(e.port, std::memory_order_release);
    return true;
}

void JackMidiServices::writeProperties(const Endpoint& e) {
    if (!client_ || !e.port) return;
    const jack_uuid_t uuid = jack_port_uuid(e.port);
    if (e.hasUniqueID)
        jack_set_property(client_, uuid, kUniqueIDKey, QByteArray::number(e.uniqueID).constData(),
                          kIntegerType);
    if (!e.model.isNull())
        jack_set_property(client_, uuid, kModelKey, e.model.toUtf8().constData(), "text/plain");
}

void JackMidiServices::watchdogLoop() {
    while (!stopping_.load()) {
        sleepMs(100);
        if (!serverGone_.load()) continue;
        std::unique_lock lock(mutex_);
        if (!client_) continue;
        qCWarning(lcJack).noquote() << "The JACK server went away; waiting for it to come back.";
        closeClient();
        while (!stopping_.load()) {
            lock.unlock();
            sleepMs(kReconnectMs);
            lock.lock();
            if (clientRef_ == 0 || openClient()) break;
        }
        if (client_)
            qCWarning(lcJack).noquote()
                << "The JACK server is back;" << clientName_ << "and its ports are there again.";
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

JackMidiServices::Endpoint* JackMidiServices::endpoint(MIDIObjectRef ref) {
    auto it = endpoints_.find(ref);
    return it == endpoints_.end() ? nullptr : &*it;
}

OSStatus JackMidiServices::clientCreate(const QString& name, MIDINotifyProc notifyProc,
                                        void* notifyRefCon, MIDIClientRef* outClient) {
    std::lock_guard lock(mutex_);
    if (client_) return kMIDIInvalidClient; // one client per process is all the engine needs
    clientName_ = name;
    notifyProc_ = notifyProc;
    notifyRefCon_ = notifyRefCon;
    if (!openClient()) return kMIDIServerStartErr;
    clientRef_ = nextRef_++;
    if (outClient) *outClient = clientRef_;
    return kMidiNoErr;
}

OSStatus JackMidiServices::clientDispose(MIDIClientRef client) {
    std::lock_guard lock(mutex_);
    if (client == 0 || client != clientRef_) return kMIDIInvalidClient;
    closeClient();
    for (auto& t : readTargets_) {
        t.proc.store(nullptr);
        t.refCon.store(nullptr);
    }
    endpoints_.clear();
    foreignPorts_.clear();
    clientRef_ = 0;
    notifyProc_ = nullptr;
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
    if (!registerPort(e)) {
        if (destination) readTargets_[e.slot].proc.store(nullptr);
        return kMIDIInvalidPort;
    }
    const MIDIEndpointRef ref = nextRef_++;
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
        writeProperties(*e);
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
        writeProperties(*e);
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
    int slot = -1;
    {
        std::lock_guard lock(mutex_);
        Endpoint* e = endpoint(source);
        if (!e || e->destination) return kMIDIInvalidPort;
        slot = e->slot;
    }
    std::lock_guard lock(outWriteMutex_);
    list.forEachPacket([&](const MidiPacketList::Packet& packet) {
        if (jack_ringbuffer_write_space(outRing_.get()) < kEventHeader + packet.length) {
            dropped_.fetch_add(1);
            return;
        }
        const uint8_t slotByte = static_cast<uint8_t>(slot);
        jack_ringbuffer_write(outRing_.get(), reinterpret_cast<const char*>(&slotByte), 1);
        jack_ringbuffer_write(outRing_.get(), reinterpret_cast<const char*>(&packet.length), 2);
        jack_ringbuffer_write(outRing_.get(), reinterpret_cast<const char*>(packet.data),
                              packet.length);
    });
    return kMidiNoErr;
}
