#pragma once

#include <QHostAddress>
#include <QObject>

#include "osc/OscEndpoint.h"

struct OscMessage;

// Gigmora as a minimal session manager for the one DAW it starts: an OSC endpoint on the
// loopback interface only (its address goes to the DAW in NSM_URL), which answers the DAW's
// announce and asks it to open or save a session, passing on its replies and errors. Only the
// DAW that announced itself is listened to; anything else arriving (malformed packets, unknown
// paths, other senders) is dropped, with one log line per kind of trouble.
class NsmServer : public QObject {
    Q_OBJECT
public:
    static constexpr int kApiMajor = 1;
    static constexpr int kApiMinor = 1;

    explicit NsmServer(QObject* parent = nullptr);

    // Binds 127.0.0.1 on `port` (0: a free one); the reason is also logged when it cannot.
    Result<> listen(quint16 port = 0);
    // "osc.udp://127.0.0.1:PORT/", the value of NSM_URL for the DAW.
    QString url() const;
    quint16 port() const { return endpoint_.port(); }

    bool hasClient() const { return clientPort_ != 0; }
    QString clientName() const { return clientName_; }
    QString capabilities() const { return capabilities_; }
    // The DAW switches sessions in its own process (":switch:").
    bool canSwitch() const { return capabilities_.contains(QLatin1String(":switch:")); }
    QHostAddress clientAddress() const { return clientAddress_; }
    quint16 clientPort() const { return clientPort_; }
    // Whether a socket on this machine is still bound to the DAW's port: a DAW whose process
    // lives on without it (a crash reporter waiting on a dialog) has gone as a client.
    bool clientListens() const;
    // Forgets the DAW (it quit or died); the next one to announce is listened to.
    void forgetClient();
    // Listens to a DAW that announced itself to an earlier Gigmora on this port.
    void adoptClient(const QHostAddress& address, quint16 port, const QString& name,
                     const QString& capabilities);

    // Fails when no DAW has announced itself yet.
    Result<> open(const QString& path, const QString& displayName, const QString& clientId);
    Result<> save();

signals:
    void announced(const QString& name, const QString& capabilities, qint64 pid);
    // The DAW's answer to "/nsm/client/open" or "/nsm/client/save".
    void replied(const QString& path, const QString& message);
    void failed(const QString& path, int code, const QString& message);
    // "/nsm/client/message": the DAW's own status text.
    void statusMessage(int priority, const QString& message);

private:
    void handle(const OscMessage& message, const QHostAddress& from, quint16 port);
    void announce(const OscMessage& message, const QHostAddress& from, quint16 port);
    Result<> sendToClient(const OscMessage& message);
    void ignore(const QString& kind) { endpoint_.ignore(kind); }

    OscEndpoint endpoint_;
    QHostAddress clientAddress_;
    quint16 clientPort_ = 0;
    QString clientName_;
    QString capabilities_;
};
