#include "osc/OscMessage.h"

#include <cstdlib>
#include <cstring>
#include <lo/lo.h>
#include <memory>

namespace {
struct MessageFree {
    void operator()(lo_message m) const { lo_message_free(m); }
};
using Message = std::unique_ptr<std::remove_pointer_t<lo_message>, MessageFree>;
struct MemoryFree {
    void operator()(void* p) const { std::free(p); }
};

// Whether the message carries a blob. liblo 0.31 checks a blob's size with pointer arithmetic
// that a size near 2^32 overflows, and then reads far past the datagram; nothing Gigmora
// speaks uses blobs, so a message with one is refused before liblo reads it.
bool carriesBlob(const QByteArray& datagram) {
    const qsizetype pathEnd = datagram.indexOf('\0');
    if (pathEnd < 0) return false; // malformed: liblo refuses it
    const qsizetype tags = (pathEnd + 4) & ~qsizetype(3);
    if (tags >= datagram.size() || datagram[tags] != ',') return false;
    for (qsizetype i = tags + 1; i < datagram.size() && datagram[i] != '\0'; ++i)
        if (datagram[i] == LO_BLOB) return true;
    return false;
}
} // namespace

QByteArray OscMessage::encode() const {
    Message m(lo_message_new());
    for (const QVariant& a : args) {
        switch (a.typeId()) {
        case QMetaType::Int:
        case QMetaType::LongLong:
            lo_message_add_int32(m.get(), a.toInt());
            break;
        case QMetaType::Double:
        case QMetaType::Float:
            lo_message_add_float(m.get(), a.toFloat());
            break;
        default:
            lo_message_add_string(m.get(), a.toString().toUtf8().constData());
        }
    }
    size_t size = 0;
    std::unique_ptr<void, MemoryFree> bytes(
        lo_message_serialise(m.get(), path.toUtf8().constData(), nullptr, &size));
    return bytes ? QByteArray(static_cast<const char*>(bytes.get()), qsizetype(size))
                 : QByteArray();
}

std::optional<OscMessage> OscMessage::decode(const QByteArray& datagram) {
    if (datagram.isEmpty() || datagram.startsWith('#')) return std::nullopt; // bundles too
    if (carriesBlob(datagram)) return std::nullopt;
    QByteArray copy = datagram; // liblo reads in place
    int result = 0;
    Message m(lo_message_deserialise(copy.data(), size_t(copy.size()), &result));
    if (!m || result != 0) return std::nullopt;
    OscMessage out;
    out.path = QString::fromUtf8(lo_get_path(copy.data(), copy.size()));
    const char* types = lo_message_get_types(m.get());
    lo_arg** argv = lo_message_get_argv(m.get());
    for (int i = 0; types && types[i]; ++i) {
        // OSC aligns arguments to 4 bytes only: read them as bytes, not through lo_arg's
        // 8-byte union.
        const char* at = reinterpret_cast<const char*>(argv[i]);
        switch (types[i]) {
        case LO_STRING:
        case LO_SYMBOL:
            out.args << QString::fromUtf8(at);
            break;
        case LO_INT32: {
            int32_t v;
            std::memcpy(&v, at, sizeof v);
            out.args << v;
            break;
        }
        case LO_FLOAT: {
            float v;
            std::memcpy(&v, at, sizeof v);
            out.args << double(v);
            break;
        }
        default:
            out.args << QVariant(); // a kind the protocol does not use
        }
    }
    return out;
}

std::optional<QString> OscMessage::string(int i) const {
    if (i < 0 || i >= args.size() || args[i].typeId() != QMetaType::QString) return std::nullopt;
    return args[i].toString();
}

std::optional<int> OscMessage::integer(int i) const {
    if (i < 0 || i >= args.size() || args[i].typeId() != QMetaType::Int) return std::nullopt;
    return args[i].toInt();
}
