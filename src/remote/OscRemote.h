#pragma once

#include <QHostAddress>
#include <QList>
#include <QObject>

#include "osc/OscEndpoint.h"

#include "performance/StageSnapshot.h"

struct OscMessage;

// The OSC control surface for TouchOSC and Open Stage Control: "/gigmora/next",
// "/gigmora/previous" and "/gigmora/song i" move through the set as a MIDI trigger does; every
// client that has sent anything within the last minute gets the stage back as
// "/gigmora/setlist s", "/gigmora/current s", "/gigmora/next s" and "/gigmora/state s". Only
// the allowed addresses are heard; anything else, malformed packets included, is dropped with
// one log line per kind. It never edits the library.
class OscRemote : public QObject {
    Q_OBJECT
public:
    static constexpr qint64 kClientMemoryMs = 60000;

    explicit OscRemote(QObject* parent = nullptr);

    // Every interface, `port` (0: any free one); only senders in `allow` are heard.
    Result<> listen(quint16 port, const QStringList& allow);
    quint16 port() const { return endpoint_.port(); }
    // Sends the stage to the recent clients.
    void publish(const StageSnapshot& stage);

signals:
    void nextRequested();
    void previousRequested();
    void songRequested(int number);

private:
    void handle(const OscMessage& message, const QHostAddress& from, quint16 port);
    void sendStage(const QHostAddress& to, quint16 port);
    void ignore(const QString& kind) { endpoint_.ignore(kind); }

    struct Client {
        QHostAddress address;
        quint16 port;
        qint64 seenMs;
    };
    OscEndpoint endpoint_;
    QList<QHostAddress> allow_;
    QList<Client> clients_;
    StageSnapshot stage_;
};
