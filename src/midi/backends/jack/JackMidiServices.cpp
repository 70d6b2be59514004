#include "midi/backends/jack/JackMidiServices.h"

#include "midi/MidiLog.h"

#include <jack/metadata.h>
#include <jack/midiport.h>
#include <jack/uuid.h>
#include <memory>

namespace {
// What a JACK MIDI buffer needs besides the event's bytes (its header and one event record),
// with room to spare.
constexpr size_t kBufferOverhead = 64;

void quietJackError(const char* message) {
    qCDebug(lcJack) << message;
}

struct JackFree {
    void operator()(void* p) const { jack_free(p); }
};
} // namespace

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
    : service_({[this] {
                    std::lock_guard lock(mutex_);
                    return clientRef_ != 0 && !client_;
                },
                [this] { return connectClient(); }, [this] { dropDeadClient(); },
                [this](std::vector<JackReconnectService::OwnPort>* own) { return ownPorts(own); },
                [this] { return generation_.load(); }, &lifecycleMutex_}) {
    jack_set_error_function(quietJackError);
    jack_set_info_function(quietJackError);
    service_.start();
}

JackMidiServices::~JackMidiServices() {
    service_.stop();
    jack_client_t* last = nullptr;
    {
        std::lock_guard lifecycle(lifecycleMutex_);
        std::lock_guard lock(mutex_);
        last = detachClient();
    }
    if (last) jack_client_close(last);
}

// JACK's notification thread: no state lock here (the main thread may hold it while it waits
// for the server, which waits for this thread).
void JackMidiServices::portRegistered(jack_port_id_t, int registered, void* arg) {
    auto* self = static_cast<JackMidiServices*>(arg);
    if (registered) self->service_.requestRestore(); // a remembered peer may be back
    self->notify(registered ? kMIDIMsgObjectAdded : kMIDIMsgObjectRemoved);
}

void JackMidiServices::portConnected(jack_port_id_t a, jack_port_id_t b, int connect, void* arg) {
    auto* self = static_cast<JackMidiServices*>(arg);
    if (jack_client_t* client = self->liveClient_.load())
        self->service_.connectionChanged(client, a, b, connect != 0);
}

void JackMidiServices::propertyChanged(jack_uuid_t, const char*, jack_property_change_t,
                                       void* arg) {
    static_cast<JackMidiServices*>(arg)->notify(kMIDIMsgPropertyChanged);
}

void JackMidiServices::serverShutdown(jack_status_t, const char*, void* arg) {
    static_cast<JackMidiServices*>(arg)->service_.serverGone();
}

void JackMidiServices::notify(MIDINotificationMessageID id) {
    if (MIDINotifyProc proc = notifyProc_.load()) {
        const MIDINotification message{id, sizeof(MIDINotification)};
        proc(&message, notifyRefCon_.load());
    }
}

jack_client_t* JackMidiServices::detachClient() {
    queue_.clearPorts();
    for (auto& e : endpoints_.all())
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
    queue_.setPort(e.destination, e.slot, port);
}

void JackMidiServices::writeProperties(jack_client_t* client, const Endpoint& e) {
    if (!client || !e.port) return;
    if (e.hasUniqueID) JackPortMetadata::setUniqueID(client, e.port, e.uniqueID);
    if (!e.model.isNull()) JackPortMetadata::setModel(client, e.port, e.model);
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
        wanted = endpoints_.all();
    }
    // Asking the server may take long when it is slow: no state lock meanwhile.
    jack_status_t status;
    jack_client_t* c = jack_client_open(name.toUtf8().constData(), JackNoStartServer, &status);
    if (!c) return false;
    jack_set_process_callback(c, &JackRealtimeQueue::process, &queue_);
    jack_set_port_registration_callback(c, &JackMidiServices::portRegistered, this);
    jack_set_port_connect_callback(c, &JackMidiServices::portConnected, this);
    jack_set_property_change_callback(c, &JackMidiServices::propertyChanged, this);
    jack_on_info_shutdown(c, &JackMidiServices::serverShutdown, this);
    for (auto& e : wanted)
        e.port = registerPort(c, e);
    queue_.setMaxEventSize(jack_port_type_get_buffer_size(c, JACK_DEFAULT_MIDI_TYPE) -
                           kBufferOverhead);
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
                if (Endpoint* e = endpoints_.find(it.key()); e && it->port) publish(*e, it->port);
            // Endpoints made while we were connecting get their ports now.
            for (auto& e : endpoints_.all())
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
    service_.requestRestore();
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

jack_client_t* JackMidiServices::ownPorts(std::vector<JackReconnectService::OwnPort>* out) {
    std::lock_guard lock(mutex_);
    if (out)
        for (const auto& e : endpoints_.all())
            if (e.port)
                out->push_back(
                    {e.name, QString::fromUtf8(jack_port_name(e.port)), e.destination, e.port});
    return client_;
}

int JackMidiServices::freeSlot(bool destination) const {
    for (int s = 0; s < JackRealtimeQueue::kSlots; ++s) {
        bool used = false;
        for (const auto& e : endpoints_.all())
            used = used || (e.destination == destination && e.slot == s);
        if (!used) return s;
    }
    return -1;
}

OSStatus JackMidiServices::clientCreate(const QString& name, MIDINotifyProc notifyProc,
                                        void* notifyRefCon, MIDIClientRef* outClient) {
    {
        std::lock_guard lock(mutex_);
        if (clientRef_ != 0) return kMIDIInvalidClient; // one client per process is all we need
        clientName_ = name;
        notifyProc_ = notifyProc;
        notifyRefCon_ = notifyRefCon;
        clientRef_ = endpoints_.newRef();
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
        queue_.clear();
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

OSStatus JackMidiServices::createEndpoint(MIDIClientRef client, const QString& name,
                                          bool destination, MIDIReadProc readProc, void* refCon,
                                          MIDIEndpointRef* outEndpoint) {
    std::lock_guard lock(mutex_);
    if (client == 0 || client != clientRef_) return kMIDIInvalidClient;
    Endpoint e{{destination, name, false, 0, {}}, freeSlot(destination)};
    if (e.slot < 0) return kMIDIInvalidPort;
    // Set before the port exists, so that no event can arrive without a reader.
    if (destination) queue_.setReader(e.slot, readProc, refCon);
    if (client_) {
        jack_port_t* port = registerPort(client_, e);
        if (!port) {
            if (destination) queue_.setReader(e.slot, nullptr, nullptr);
            return kMIDIInvalidPort;
        }
        publish(e, port);
        service_.requestRestore();
    } // else the port comes with the client, when the server does
    const MIDIEndpointRef ref = endpoints_.insert(e);
    if (!destination) queue_.setSource(e.slot, ref);
    if (outEndpoint) *outEndpoint = ref;
    return kMidiNoErr;
}

OSStatus JackMidiServices::objectSetIntegerProperty(MIDIObjectRef obj, MidiProperty property,
                                                    int32_t value) {
    std::lock_guard lock(mutex_);
    if (property != MidiProperty::UniqueID) return kMIDIUnknownProperty;
    if (endpoints_.setUniqueID(obj, value) == kMidiNoErr) {
        writeProperties(client_, *endpoints_.find(obj));
        return kMidiNoErr;
    }
    if (foreignPorts_.contains(obj) && client_) {
        if (jack_port_t* p = jack_port_by_name(client_, foreignPorts_[obj].toUtf8().constData()))
            return JackPortMetadata::setUniqueID(client_, p, value);
    }
    return kMIDIObjectNotFound;
}

OSStatus JackMidiServices::objectGetIntegerProperty(MIDIObjectRef obj, MidiProperty property,
                                                    int32_t* outValue) {
    std::lock_guard lock(mutex_);
    if (property != MidiProperty::UniqueID) return kMIDIUnknownProperty;
    if (endpoints_.uniqueID(obj, outValue) == kMidiNoErr) return kMidiNoErr;
    if (foreignPorts_.contains(obj) && client_) {
        bool ok = false;
        const int v = JackPortMetadata::property(client_, foreignPorts_[obj].toUtf8().constData(),
                                                 kUniqueIDKey)
                          .toInt(&ok);
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
    if (endpoints_.setModel(obj, value) != kMidiNoErr) return kMIDIObjectNotFound;
    writeProperties(client_, *endpoints_.find(obj));
    return kMidiNoErr;
}

OSStatus JackMidiServices::objectGetStringProperty(MIDIObjectRef obj, MidiProperty property,
                                                   QString* outValue) {
    std::lock_guard lock(mutex_);
    QByteArray portName;
    if (Endpoint* e = endpoints_.find(obj)) {
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
        *outValue = JackPortMetadata::property(client_, portName.constData(), kModelKey);
        return kMidiNoErr;
    }
    QString pretty;
    if (property == MidiProperty::DisplayName)
        pretty = JackPortMetadata::displayName(client_, portName.constData());
    else if (jack_port_t* p = jack_port_by_name(client_, portName.constData()))
        pretty = QString::fromUtf8(jack_port_short_name(p));
    if (pretty.isEmpty()) return kMIDIObjectNotFound;
    *outValue = pretty;
    return kMidiNoErr;
}

OSStatus JackMidiServices::objectFindByUniqueID(MIDIUniqueID id, MIDIObjectRef* outObject,
                                                MIDIObjectType* outType) {
    if (outObject) *outObject = 0;
    std::lock_guard lock(mutex_);
    if (endpoints_.findByUniqueID(id, outObject, outType)) return kMidiNoErr;
    if (!client_) return kMIDIObjectNotFound;
    std::unique_ptr<const char*, JackFree> ports(
        jack_get_ports(client_, nullptr, JACK_DEFAULT_MIDI_TYPE, 0));
    for (const char** p = ports.get(); p && *p; ++p) {
        bool ok = false;
        if (JackPortMetadata::property(client_, *p, kUniqueIDKey).toInt(&ok) != id || !ok) continue;
        const QString name = QString::fromUtf8(*p);
        MIDIObjectRef ref = foreignPorts_.key(name, 0);
        if (!ref) {
            ref = endpoints_.newRef();
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

OSStatus JackMidiServices::received(MIDIEndpointRef source, const MidiPacketList& list) {
    // No state lock: sending never waits for the service thread or the server.
    return queue_.send(source, list);
}
