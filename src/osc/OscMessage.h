#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantList>
#include <optional>

// One OSC message: a path and its arguments (strings, 32-bit integers and floats, the only
// kinds the session-manager protocol uses). Encoding and decoding are liblo's.
struct OscMessage {
    QString path;
    QVariantList args;

    QByteArray encode() const;
    // Nothing for a datagram that is not one whole, well-formed message (bundles included).
    static std::optional<OscMessage> decode(const QByteArray& datagram);

    // The argument at `i` if it is a string, else nothing.
    std::optional<QString> string(int i) const;
    std::optional<int> integer(int i) const;
};
