#pragma once

#include <QHash>
#include <QHostAddress>
#include <QTcpServer>

// The web remote's TCP listener: each address holds at most 16 connections that are not yet
// pages (a page gave the PIN and counts only toward the 256 of the whole remote); every
// connection gets its guard before the HTTP server sees it.
class RemoteListener : public QTcpServer {
    Q_OBJECT
public:
    static constexpr int kMaxPerAddress = 16;
    static constexpr int kMaxConnections = 256;

    explicit RemoteListener(QObject* parent = nullptr);

    int connectionsFrom(const QHostAddress& address) const;

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    void release(QObject* socket);

    QHash<QHostAddress, int> perAddress_;
    QHash<QObject*, QHostAddress> counted_; // the sockets counted in perAddress_
    int total_ = 0;
};
