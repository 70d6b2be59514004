#include "support/JackTestClient.h"

#include "support/LibraryHelpers.h"

#include <jack/metadata.h>
#include <jack/midiport.h>
#include <memory>
#include <optional>

namespace {
// The port's unique-ID property, if it has one.
std::optional<int32_t> uniqueIDOf(jack_port_t* port) {
    char* value = nullptr;
    char* type = nullptr;
    if (!port || jack_get_property(jack_port_uuid(port), "urn:x-midi:uniqueID", &value, &type) != 0)
        return std::nullopt;
    const int32_t id = QByteArray(value).toInt();
    jack_free(value);
    jack_free(type);
    return id;
}
} // namespace

JackTestClient::JackTestClient(const char* name) {
    jack_status_t status;
    client_ = jack_client_open(name, JackNoStartServer, &status);
    if (!client_) return;
    out_ = jack_port_register(client_, "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
    in_ = jack_port_register(client_, "in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
    toSend_ = jack_ringbuffer_create(1 << 20);
    got_ = jack_ringbuffer_create(1 << 22);
    jack_set_process_callback(client_, &JackTestClient::process, this);
    jack_activate(client_);
}

JackTestClient::~JackTestClient() {
    if (client_) {
        jack_deactivate(client_);
        jack_client_close(client_);
    }
    if (toSend_) jack_ringbuffer_free(toSend_);
    if (got_) jack_ringbuffer_free(got_);
}

int JackTestClient::process(jack_nframes_t nframes, void* arg) {
    auto* self = static_cast<JackTestClient*>(arg);
    const uint64_t cycle = self->cycle_.fetch_add(1) + 1;
    void* out = jack_port_get_buffer(self->out_, nframes);
    jack_midi_clear_buffer(out);
    while (jack_ringbuffer_read_space(self->toSend_) >= 2) {
        uint16_t size;
        jack_ringbuffer_peek(self->toSend_, reinterpret_cast<char*>(&size), 2);
        if (jack_ringbuffer_read_space(self->toSend_) < 2u + size) break;
        jack_midi_data_t* dst = jack_midi_event_reserve(out, 0, size);
        if (!dst) break; // this period's buffer is full; the rest goes in the next one
        jack_ringbuffer_read_advance(self->toSend_, 2);
        jack_ringbuffer_read(self->toSend_, reinterpret_cast<char*>(dst), size);
        self->lastSentFrame_.store(jack_last_frame_time(self->client_));
        self->lastSentCycle_.store(cycle);
    }
    void* in = jack_port_get_buffer(self->in_, nframes);
    const uint32_t n = jack_midi_get_event_count(in);
    for (uint32_t k = 0; k < n; ++k) {
        jack_midi_event_t ev;
        if (jack_midi_event_get(&ev, in, k) != 0) continue;
        const uint16_t size = static_cast<uint16_t>(ev.size);
        if (jack_ringbuffer_write_space(self->got_) < 2u + size) continue;
        jack_ringbuffer_write(self->got_, reinterpret_cast<const char*>(&size), 2);
        jack_ringbuffer_write(self->got_, reinterpret_cast<const char*>(ev.buffer), size);
    }
    return 0;
}

void JackTestClient::drain() {
    std::lock_guard lock(mutex_);
    while (jack_ringbuffer_read_space(got_) >= 2) {
        uint16_t size;
        jack_ringbuffer_peek(got_, reinterpret_cast<char*>(&size), 2);
        if (jack_ringbuffer_read_space(got_) < 2u + size) break;
        jack_ringbuffer_read_advance(got_, 2);
        Event e;
        e.bytes.resize(size);
        jack_ringbuffer_read(got_, reinterpret_cast<char*>(e.bytes.data()), size);
        events_.push_back(std::move(e));
    }
}

bool JackTestClient::portHasUniqueID(const QString& name, int32_t id) const {
    return client_ && uniqueIDOf(jack_port_by_name(client_, name.toUtf8().constData())) == id;
}

QString JackTestClient::portWithUniqueID(int32_t id) const {
    if (!client_) return {};
    const char** ports = jack_get_ports(client_, nullptr, JACK_DEFAULT_MIDI_TYPE, 0);
    QString found;
    for (const char** p = ports; p && *p && found.isEmpty(); ++p)
        if (uniqueIDOf(jack_port_by_name(client_, *p)) == id) found = QString::fromUtf8(*p);
    jack_free(ports);
    return found;
}

int JackTestClient::countPortsNamed(const QString& shortName) const {
    const char** ports = jack_get_ports(client_, nullptr, JACK_DEFAULT_MIDI_TYPE, 0);
    int n = 0;
    for (const char** p = ports; p && *p; ++p)
        n += QString::fromUtf8(*p).endsWith(":" + shortName) ? 1 : 0;
    jack_free(ports);
    return n;
}

bool JackTestClient::connect(const QString& gigmoraInput, const QString& gigmoraOutput) {
    if (!client_ || gigmoraInput.isEmpty() || gigmoraOutput.isEmpty()) return false;
    return jack_connect(client_, jack_port_name(out_), gigmoraInput.toUtf8().constData()) == 0 &&
           jack_connect(client_, gigmoraOutput.toUtf8().constData(), jack_port_name(in_)) == 0;
}

bool JackTestClient::connectToGigmora() {
    // By name: after a server restart, a stale property of a port that went with the old
    // server can sit on a new port that happens to get the same UUID.
    return connect("Gigmora Midi:Gigmora Virtual Input", "Gigmora Midi:Gigmora Virtual Output");
}

void JackTestClient::send(std::vector<uint8_t> bytes) {
    const uint16_t size = static_cast<uint16_t>(bytes.size());
    jack_ringbuffer_write(toSend_, reinterpret_cast<const char*>(&size), 2);
    jack_ringbuffer_write(toSend_, reinterpret_cast<const char*>(bytes.data()), size);
}

std::vector<JackTestClient::Event> JackTestClient::received() {
    drain();
    std::lock_guard lock(mutex_);
    return events_;
}

void JackTestClient::clearReceived() {
    drain();
    std::lock_guard lock(mutex_);
    events_.clear();
}

bool JackTestClient::waitForEvents(size_t count, int timeoutMs) {
    return helpers::waitUntil([&] { return received().size() >= count; }, timeoutMs);
}
