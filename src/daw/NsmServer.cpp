#include "daw/NsmServer.h"

#include "daw/DawLog.h"
#include "osc/OscMessage.h"

#include <QFile>

namespace {
constexpr int kErrIncompatibleApi = -2;
} // namespace

NsmServer::NsmServer(QObject* parent)
    : QObject(parent), endpoint_(QStringLiteral("Session manager"), lcDaw,
                                 [this](const OscMessage& m, const QHostAddress& from,
                                        quint16 port) { handle(m, from, port); }) {}

Result<> NsmServer::listen(quint16 port) {
    if (endpoint_.isBound()) {
        if (port == 0 || endpoint_.port() == port) return {};
        return {Failure::Code::NameTaken, QStringLiteral("it listens on another port already")};
    }
    Result<> bound = endpoint_.bind(QHostAddress::LocalHost, port);
    if (!bound)
        qCWarning(lcDaw).noquote()
            << "The session manager cannot listen on the loopback interface"
            << (port ? QStringLiteral("port %1:").arg(port) : QStringLiteral(":"))
            << bound.failure().words;
    return bound;
}

QString NsmServer::url() const {
    return QStringLiteral("osc.udp://127.0.0.1:%1/").arg(port());
}

bool NsmServer::clientListens() const {
    if (!clientPort_) return false;
    // Linux's table of UDP sockets: "sl local_address rem_address st …", the address as
    // hex "ADDRESS:PORT".
    const QByteArray port =
        ':' + QByteArray::number(clientPort_, 16).toUpper().rightJustified(4, '0');
    for (const char* table : {"/proc/net/udp", "/proc/net/udp6"}) {
        QFile file(QString::fromLatin1(table));
        if (!file.open(QIODevice::ReadOnly)) return true; // nothing to tell by: assumed there
        for (const QByteArray& line : file.readAll().split('\n'))
            if (line.simplified().split(' ').value(1).endsWith(port)) return true;
    }
    return false;
}

void NsmServer::forgetClient() {
    clientAddress_.clear();
    clientPort_ = 0;
    clientName_.clear();
    capabilities_.clear();
}

void NsmServer::adoptClient(const QHostAddress& address, quint16 port, const QString& name,
                            const QString& capabilities) {
    clientAddress_ = address;
    clientPort_ = port;
    clientName_ = name;
    capabilities_ = capabilities;
}

Result<> NsmServer::open(const QString& path, const QString& displayName, const QString& clientId) {
    return sendToClient({QStringLiteral("/nsm/client/open"), {path, displayName, clientId}});
}

Result<> NsmServer::save() {
    return sendToClient({QStringLiteral("/nsm/client/save"), {}});
}

void NsmServer::handle(const OscMessage& m, const QHostAddress& from, quint16 port) {
    if (m.path == QLatin1String("/nsm/server/announce")) {
        announce(m, from, port);
        return;
    }
    if (!hasClient() || port != clientPort_ || !from.isEqual(clientAddress_)) {
        ignore(QStringLiteral("a message from a program that did not announce itself"));
        return;
    }
    if (m.path == QLatin1String("/reply")) {
        const auto path = m.string(0);
        if (!path) return ignore(QStringLiteral("a reply without the path it answers"));
        emit replied(*path, m.string(1).value_or(QString()));
    } else if (m.path == QLatin1String("/error")) {
        const auto path = m.string(0);
        const auto code = m.integer(1);
        if (!path || !code) return ignore(QStringLiteral("an error without its path and code"));
        emit failed(*path, *code, m.string(2).value_or(QString()));
    } else if (m.path == QLatin1String("/nsm/client/message")) {
        const auto text = m.string(1);
        if (text) emit statusMessage(m.integer(0).value_or(0), *text);
    } else if (!m.path.startsWith(QLatin1String("/nsm/client/"))) {
        // Progress, dirtiness and the GUI's state are the DAW's business; anything else is
        // not this protocol.
        ignore(QStringLiteral("an unknown message, ") + m.path);
    }
}

void NsmServer::announce(const OscMessage& m, const QHostAddress& from, quint16 port) {
    const auto name = m.string(0);
    const auto capabilities = m.string(1);
    const auto major = m.integer(3);
    if (!name || !capabilities || !major) {
        ignore(QStringLiteral("an announce without its name, capabilities or version"));
        return;
    }
    if (*major > kApiMajor) {
        endpoint_.send({QStringLiteral("/error"),
                        {QStringLiteral("/nsm/server/announce"), kErrIncompatibleApi,
                         QStringLiteral("Gigmora speaks version 1 of the session-manager API.")}},
                       from, port);
        return;
    }
    // The DAW Gigmora started; a later announce is that DAW started again.
    clientAddress_ = from;
    clientPort_ = port;
    clientName_ = *name;
    capabilities_ = *capabilities;
    endpoint_.send({QStringLiteral("/reply"),
                    {QStringLiteral("/nsm/server/announce"), QStringLiteral("Welcome to Gigmora."),
                     QStringLiteral("Gigmora"), QStringLiteral(":optional-gui:")}},
                   from, port);
    emit announced(*name, *capabilities, m.integer(5).value_or(0));
}

Result<> NsmServer::sendToClient(const OscMessage& message) {
    if (!hasClient())
        return {Failure::Code::NotConnected, QStringLiteral("no DAW announced itself")};
    endpoint_.send(message, clientAddress_, clientPort_);
    return {};
}
