#include "remote/RemoteListener.h"

#include "remote/ConnectionGuard.h"
#include "remote/PeerAddress.h"

#include <QPointer>
#include <QTcpSocket>

RemoteListener::RemoteListener(QObject* parent) : QTcpServer(parent) {}

int RemoteListener::connectionsFrom(const QHostAddress& address) const {
    return perAddress_.value(plainAddress(address));
}

void RemoteListener::incomingConnection(qintptr descriptor) {
    auto socket = std::make_unique<QTcpSocket>();
    if (!socket->setSocketDescriptor(descriptor)) return;
    const QHostAddress from = plainAddress(socket->peerAddress());
    if (total_ >= kMaxConnections || perAddress_.value(from) >= kMaxPerAddress) {
        socket->abort();
        return;
    }
    ++total_;
    ++perAddress_[from];
    QTcpSocket* s = socket.release();
    s->setParent(this);
    connect(s, &QObject::destroyed, this, [self = QPointer(this), from] {
        if (!self) return;
        --self->total_;
        if (--self->perAddress_[from] <= 0) self->perAddress_.remove(from);
    });
    new ConnectionGuard(s);
    addPendingConnection(s);
}
