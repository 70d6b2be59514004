#pragma once

#include <QString>

#include <jack/types.h>

// The identity of a port in the JACK server's metadata: a MIDI unique ID and a model, as
// properties any JACK client can read, plus the port's pretty name.
class JackPortMetadata {
public:
    static constexpr const char* kUniqueIDKey = "urn:x-midi:uniqueID";
    static constexpr const char* kModelKey = "urn:x-midi:model";

    // A property of the port of that full name, or an empty string.
    static QString property(jack_client_t* client, const char* portName, const char* key);
    static int setUniqueID(jack_client_t* client, jack_port_t* port, int32_t id);
    static int setModel(jack_client_t* client, jack_port_t* port, const QString& model);
    // The port's pretty name, else its short name; empty when there is no such port.
    static QString displayName(jack_client_t* client, const char* portName);
};
