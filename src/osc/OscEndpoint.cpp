#include "osc/OscEndpoint.h"

#include "osc/OscMessage.h"
#include "platform/Guard.h"
#include "platform/PeerAddress.h"

#include <QNetworkDatagram>

namespace {
constexpr qsizetype kMaxDatagram = 64 * 1024;
}

OscEndpoint::OscEndpoint(QString who, Category log, Handler handler)
    : who_(std::move(who)), log_(log), handler_(std::move(handler)) {
    QObject::connect(&socket_, &QUdpSocket::readyRead, &socket_,
                     [this] { guarded("OscEndpoint::readPending", [this] { readPending(); }); });
}

Result<> OscEndpoint::bind(const QHostAddress& address, quint16 port) {
    // Exclusively: a port another program shares would split the messages between the two.
    if (socket_.bind(address, port, QAbstractSocket::DontShareAddress)) return {};
    return {socket_.error() == QAbstractSocket::AddressInUseError ? Failure::Code::NameTaken
                                                                  : Failure::Code::Refused,
            socket_.errorString()};
}

void OscEndpoint::readPending() {
    while (socket_.hasPendingDatagrams()) {
        const QNetworkDatagram datagram = socket_.receiveDatagram(kMaxDatagram);
        const QHostAddress from = plainAddress(datagram.senderAddress());
        if (accepts && !accepts(from)) {
            ignore(QStringLiteral("a sender that is not allowed (") + from.toString() + ")");
            continue;
        }
        const std::optional<OscMessage> message = OscMessage::decode(datagram.data());
        if (!message) {
            ignore(QStringLiteral("a packet that is not an OSC message"));
            continue;
        }
        handler_(*message, datagram.senderAddress(), quint16(datagram.senderPort()));
    }
}

void OscEndpoint::send(const OscMessage& message, const QHostAddress& to, quint16 port) {
    const QByteArray bytes = message.encode();
    if (bytes.isEmpty() || socket_.writeDatagram(bytes, to, port) != bytes.size())
        ignore(QStringLiteral("a message that could not be sent, ") + message.path);
}

void OscEndpoint::ignore(const QString& kind) {
    if (reported_.contains(kind)) return;
    // Kinds name paths and senders, which a flood can make up without end: the memory of what
    // was said is bounded, and past it nothing more is said.
    if (reported_.size() >= kMaxReportedKinds) {
        if (reported_.size() == kMaxReportedKinds) {
            reported_.insert(QString());
            qCWarning(log_).noquote()
                << who_ + QStringLiteral(": more kinds of trouble; no more are logged.");
        }
        return;
    }
    reported_.insert(kind);
    qCWarning(log_).noquote() << who_ + QStringLiteral(": ignored") << kind
                              << "(said once; later ones are ignored quietly).";
}
