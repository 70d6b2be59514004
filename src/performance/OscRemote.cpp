#include "performance/OscRemote.h"

#include "daw/OscMessage.h"
#include "performance/PerformanceLog.h"
#include "platform/Guard.h"
#include "platform/PeerAddress.h"

#include <QDateTime>
#include <QNetworkDatagram>
#include <cmath>

namespace {
constexpr qsizetype kMaxDatagram = 64 * 1024;

qint64 now() {
    return QDateTime::currentMSecsSinceEpoch();
}
} // namespace

OscRemote::OscRemote(QObject* parent) : QObject(parent) {
    connect(&socket_, &QUdpSocket::readyRead, this,
            [this] { guarded("OscRemote::readPending", [this] { readPending(); }); });
}

bool OscRemote::listen(quint16 port, const QStringList& allow) {
    allow_.clear();
    for (const QString& a : allow) {
        const QHostAddress address(a);
        if (address.isNull())
            qCWarning(lcOsc).noquote() << "OSC: the allowed address" << a << "is not an address.";
        else
            allow_ << address;
    }
    if (socket_.bind(QHostAddress::Any, port)) {
        qCInfo(lcOsc).noquote() << "OSC control listens on port" << socket_.localPort();
        return true;
    }
    qCWarning(lcOsc).noquote() << "OSC control cannot listen on port" << port << ":"
                               << socket_.errorString();
    return false;
}

void OscRemote::readPending() {
    while (socket_.hasPendingDatagrams()) {
        const QNetworkDatagram datagram = socket_.receiveDatagram(kMaxDatagram);
        const QHostAddress from = plainAddress(datagram.senderAddress());
        if (!std::any_of(allow_.begin(), allow_.end(),
                         [&](const QHostAddress& a) { return a.isEqual(from); })) {
            ignore(QStringLiteral("a sender that is not allowed (") + from.toString() + ")");
            continue;
        }
        const std::optional<OscMessage> message = OscMessage::decode(datagram.data());
        if (!message) {
            ignore(QStringLiteral("a packet that is not an OSC message"));
            continue;
        }
        handle(*message, datagram.senderAddress(), quint16(datagram.senderPort()));
    }
}

void OscRemote::handle(const OscMessage& m, const QHostAddress& from, quint16 port) {
    const qint64 t = now();
    clients_.removeIf([&](const Client& c) { return t - c.seenMs > kClientMemoryMs; });
    auto known = std::find_if(clients_.begin(), clients_.end(), [&](const Client& c) {
        return c.port == port && c.address.isEqual(from);
    });
    if (known == clients_.end()) {
        clients_.append({from, port, t});
        sendStage(from, port); // a new surface learns where the set is at once
    } else {
        known->seenMs = t;
    }
    if (m.path == QLatin1String("/gigmora/next")) {
        emit nextRequested();
    } else if (m.path == QLatin1String("/gigmora/previous")) {
        emit previousRequested();
    } else if (m.path == QLatin1String("/gigmora/song")) {
        // TouchOSC sends numbers as floats.
        const QVariant n = m.args.value(0);
        const bool number = n.typeId() == QMetaType::Int || n.typeId() == QMetaType::Double;
        if (number && std::isfinite(n.toDouble()) && n.toDouble() >= 0 && n.toDouble() <= 127)
            emit songRequested(int(std::lround(n.toDouble())));
        else
            ignore(QStringLiteral("/gigmora/song without a number from 0 to 127"));
    } else if (m.path != QLatin1String("/gigmora/ping")) {
        ignore(QStringLiteral("an unknown message, ") + m.path);
    }
}

void OscRemote::publish(const StageSnapshot& stage) {
    if (stage == stage_) return;
    stage_ = stage;
    const qint64 t = now();
    for (const Client& c : std::as_const(clients_))
        if (t - c.seenMs <= kClientMemoryMs) sendStage(c.address, c.port);
}

void OscRemote::sendStage(const QHostAddress& to, quint16 port) {
    const std::pair<const char*, QString> parts[] = {{"/gigmora/setlist", stage_.setlist},
                                                     {"/gigmora/current", stage_.current},
                                                     {"/gigmora/next", stage_.next},
                                                     {"/gigmora/state", stage_.state}};
    for (const auto& [path, text] : parts)
        socket_.writeDatagram(OscMessage{QString::fromLatin1(path), {text}}.encode(), to, port);
}

void OscRemote::ignore(const QString& kind) {
    if (reported_.contains(kind)) return;
    reported_.insert(kind);
    qCWarning(lcOsc).noquote() << "OSC: ignored" << kind
                               << "(said once; later ones are ignored quietly).";
}
