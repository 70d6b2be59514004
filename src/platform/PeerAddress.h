#pragma once

#include <QHostAddress>

// An IPv4 peer on a dual-stack socket arrives as ::ffff:a.b.c.d; it is a.b.c.d.
inline QHostAddress plainAddress(const QHostAddress& a) {
    bool isV4 = false;
    const quint32 v4 = a.toIPv4Address(&isV4);
    return isV4 ? QHostAddress(v4) : a;
}
