#include "osc/OscMessage.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

// UDP datagrams from the session manager's DAWs and from OSC control surfaces on the network.
// A datagram decodes into one message or into nothing; a message of the kinds Gigmora speaks
// encodes back into a datagram that decodes to the same message.
namespace {
bool sameArgument(const QVariant& a, const QVariant& b) {
    if (a.typeId() != b.typeId()) return false;
    if (a.typeId() == QMetaType::Double && std::isnan(a.toDouble()))
        return std::isnan(b.toDouble());
    return a == b;
}

bool spokenByGigmora(const OscMessage& m) {
    for (const QVariant& a : m.args)
        if (!a.isValid()) return false;
    return true;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray datagram(reinterpret_cast<const char*>(data), qsizetype(size));
    const std::optional<OscMessage> m = OscMessage::decode(datagram);
    if (!m || !spokenByGigmora(*m)) return 0;
    const std::optional<OscMessage> again = OscMessage::decode(m->encode());
    bool same = again && again->path == m->path && again->args.size() == m->args.size();
    for (qsizetype i = 0; same && i < m->args.size(); ++i)
        same = sameArgument(again->args[i], m->args[i]);
    if (!same) {
        std::fprintf(stderr, "a decoded message does not survive encoding: %s\n",
                     qPrintable(m->path));
        std::abort();
    }
    return 0;
}
