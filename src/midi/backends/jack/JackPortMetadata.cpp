#include "midi/backends/jack/JackPortMetadata.h"

#include "midi/MidiLog.h"

#include <QByteArray>
#include <atomic>
#include <chrono>
#include <future>
#include <jack/jack.h>
#include <jack/metadata.h>
#include <memory>
#include <string>
#include <thread>

namespace {
constexpr const char* kIntegerType = "http://www.w3.org/2001/XMLSchema#integer";
constexpr int kWaitMs = 2000;
std::atomic<bool> g_stuck{false};

// JACK keeps port metadata in a Berkeley DB that every client on the machine shares; a client
// killed while it wrote (a DAW ended with SIGKILL) can leave it locked, and every call then
// waits for ever. Each call runs on a thread of its own and is given a moment; one that does
// not return leaves metadata out for the rest of the run, and the caller goes on.
template <typename Call> auto bounded(Call call, decltype(call()) otherwise) {
    using Value = decltype(call());
    if (g_stuck.load()) return otherwise;
    auto task = std::make_shared<std::packaged_task<Value()>>(std::move(call));
    std::future<Value> result = task->get_future();
    std::thread([task] { (*task)(); }).detach();
    if (result.wait_for(std::chrono::milliseconds(kWaitMs)) == std::future_status::ready)
        return result.get();
    if (!g_stuck.exchange(true))
        qCWarning(lcJack) << "JACK's metadata database does not answer (a program that ended "
                             "while writing it can leave it locked); port names and MIDI "
                             "identities are left out until Gigmora starts again.";
    return otherwise;
}
} // namespace

QString JackPortMetadata::property(jack_client_t* client, const char* portName, const char* key) {
    jack_port_t* port = jack_port_by_name(client, portName);
    if (!port) return {};
    const jack_uuid_t uuid = jack_port_uuid(port);
    const std::string wanted = key;
    return bounded(
        [uuid, wanted] {
            char* value = nullptr;
            char* type = nullptr;
            if (jack_get_property(uuid, wanted.c_str(), &value, &type) != 0) return QString();
            QString out = QString::fromUtf8(value ? value : "");
            jack_free(value);
            jack_free(type);
            return out;
        },
        QString());
}

int JackPortMetadata::setUniqueID(jack_client_t* client, jack_port_t* port, int32_t id) {
    const jack_uuid_t uuid = jack_port_uuid(port);
    return bounded(
        [client, uuid, id] {
            return jack_set_property(client, uuid, kUniqueIDKey, QByteArray::number(id).constData(),
                                     kIntegerType);
        },
        -1);
}

int JackPortMetadata::setModel(jack_client_t* client, jack_port_t* port, const QString& model) {
    const jack_uuid_t uuid = jack_port_uuid(port);
    return bounded(
        [client, uuid, text = model.toUtf8()] {
            return jack_set_property(client, uuid, kModelKey, text.constData(), "text/plain");
        },
        -1);
}

QString JackPortMetadata::displayName(jack_client_t* client, const char* portName) {
    QString pretty = property(client, portName, JACK_METADATA_PRETTY_NAME);
    if (pretty.isEmpty())
        if (jack_port_t* p = jack_port_by_name(client, portName))
            pretty = QString::fromUtf8(jack_port_short_name(p));
    return pretty;
}
