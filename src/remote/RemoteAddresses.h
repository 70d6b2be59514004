#pragma once

#include <QStringList>

// The addresses a phone on this machine's networks opens the page at, one per interface
// (loopback only when there is nothing else). `bindAddress` empty: every interface.
class RemoteAddresses {
public:
    static QStringList pageAddresses(const QString& bindAddress, int port);
};
