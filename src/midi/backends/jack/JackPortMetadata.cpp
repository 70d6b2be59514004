#include "midi/backends/jack/JackPortMetadata.h"

#include <QByteArray>
#include <jack/jack.h>
#include <jack/metadata.h>

namespace {
constexpr const char* kIntegerType = "http://www.w3.org/2001/XMLSchema#integer";
}

QString JackPortMetadata::property(jack_client_t* client, const char* portName, const char* key) {
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

int JackPortMetadata::setUniqueID(jack_client_t* client, jack_port_t* port, int32_t id) {
    return jack_set_property(client, jack_port_uuid(port), kUniqueIDKey,
                             QByteArray::number(id).constData(), kIntegerType);
}

int JackPortMetadata::setModel(jack_client_t* client, jack_port_t* port, const QString& model) {
    return jack_set_property(client, jack_port_uuid(port), kModelKey, model.toUtf8().constData(),
                             "text/plain");
}

QString JackPortMetadata::displayName(jack_client_t* client, const char* portName) {
    QString pretty = property(client, portName, JACK_METADATA_PRETTY_NAME);
    if (pretty.isEmpty())
        if (jack_port_t* p = jack_port_by_name(client, portName))
            pretty = QString::fromUtf8(jack_port_short_name(p));
    return pretty;
}
