#include "audio/JackClient.h"

#include <jack/jack.h>

void JackClientCloser::operator()(jack_client_t* client) const {
    jack_deactivate(client);
    jack_client_close(client);
}

QStringList takeJackNames(const char** list) {
    QStringList names;
    for (const char** n = list; n && *n; ++n)
        names << QString::fromUtf8(*n);
    jack_free(list);
    return names;
}
