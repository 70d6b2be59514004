#include "remote/RemoteAddresses.h"

#include <QHostAddress>
#include <QNetworkInterface>

namespace {
QString page(const QHostAddress& a, int port) {
    const QString host = a.protocol() == QAbstractSocket::IPv6Protocol
                             ? QStringLiteral("[%1]").arg(a.toString())
                             : a.toString();
    return QStringLiteral("http://%1:%2/").arg(host).arg(port);
}
} // namespace

QStringList RemoteAddresses::pageAddresses(const QString& bindAddress, int port) {
    const QHostAddress bound(bindAddress);
    if (!bindAddress.isEmpty() && !bound.isNull() && bound != QHostAddress::Any &&
        bound != QHostAddress::AnyIPv4 && bound != QHostAddress::AnyIPv6)
        return {page(bound, port)};
    QStringList found;
    for (const QNetworkInterface& i : QNetworkInterface::allInterfaces()) {
        const auto flags = i.flags();
        if (!(flags & QNetworkInterface::IsUp) || !(flags & QNetworkInterface::IsRunning) ||
            (flags & QNetworkInterface::IsLoopBack))
            continue;
        for (const QNetworkAddressEntry& e : i.addressEntries())
            if (e.ip().protocol() == QAbstractSocket::IPv4Protocol) found << page(e.ip(), port);
    }
    if (found.isEmpty()) found << page(QHostAddress(QHostAddress::LocalHost), port);
    return found;
}
