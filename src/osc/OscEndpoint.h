#pragma once

#include "platform/Result.h"

#include <QHostAddress>
#include <QLoggingCategory>
#include <QSet>
#include <QUdpSocket>
#include <functional>

struct OscMessage;

// A UDP socket that speaks OSC: what arrives is decoded and handed on, and trouble (packets
// that are not OSC, senders that are refused, messages that cannot be sent) is logged once per
// kind, however often it comes.
class OscEndpoint {
public:
    using Handler = std::function<void(const OscMessage&, const QHostAddress&, quint16)>;
    using Category = const QLoggingCategory& (*)();

    // `who` starts its log lines ("OSC", "Session manager").
    OscEndpoint(QString who, Category log, Handler handler);

    Result<> bind(const QHostAddress& address, quint16 port);
    quint16 port() const { return socket_.localPort(); }
    bool isBound() const { return socket_.state() == QAbstractSocket::BoundState; }

    // Senders for whom this is false are dropped unread.
    std::function<bool(const QHostAddress&)> accepts;

    void send(const OscMessage& message, const QHostAddress& to, quint16 port);
    void ignore(const QString& kind);

private:
    void readPending();
    static constexpr qsizetype kMaxReportedKinds = 64;

    QString who_;
    Category log_;
    Handler handler_;
    QUdpSocket socket_;
    QSet<QString> reported_;
};
