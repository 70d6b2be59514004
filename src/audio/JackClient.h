#pragma once

#include <QStringList>
#include <memory>

#include <jack/types.h>

// A JACK client handle that is deactivated and closed when it goes.
struct JackClientCloser {
    void operator()(jack_client_t* client) const;
};
using JackClient = std::unique_ptr<jack_client_t, JackClientCloser>;

// A list of names JACK hands out (jack_get_ports, jack_port_get_all_connections), taken and
// freed as JACK wants; empty for none.
QStringList takeJackNames(const char** list);
