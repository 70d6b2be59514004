#include "remote/RemoteRoute.h"

#include <QUrlQuery>

QByteArray RemoteRoute::header(const Headers& headers, const QByteArray& name) {
    for (const auto& [key, value] : headers)
        if (key.compare(name, Qt::CaseInsensitive) == 0) return value;
    return {};
}

QString RemoteRoute::cookie(const QByteArray& cookies, const QByteArray& name) {
    for (const QByteArray& part : cookies.split(';')) {
        const QByteArray pair = part.trimmed();
        if (pair.startsWith(name + '=')) return QString::fromLatin1(pair.mid(name.size() + 1));
    }
    return {};
}

RemoteRoute RemoteRoute::of(bool isGet, const QUrl& url, const Headers& headers, bool hasBody,
                            const SessionCheck& hasSession) {
    const auto loggedIn = [&] {
        return hasSession(cookie(header(headers, "cookie"), kSessionCookie));
    };
    RemoteRoute r;
    if (!header(headers, "upgrade").isEmpty()) {
        // A page from anywhere else could ride on the cookie; only this server's own may
        // connect.
        const QByteArray origin = header(headers, "origin");
        const bool ours = url.path() == QLatin1String("/ws") && loggedIn() && !origin.isEmpty() &&
                          origin == "http://" + header(headers, "host");
        r.kind = ours ? Kind::Upgrade : Kind::RefusedUpgrade;
        return r;
    }
    if (!isGet) {
        r.kind = Kind::OnlyGet;
        return r;
    }
    if (hasBody) {
        r.kind = Kind::NoBodies;
        return r;
    }
    const QString path = url.path();
    if (path != QLatin1String("/")) {
        r.kind = Kind::Asset;
        r.path = path;
        return r;
    }
    const QUrlQuery query(url);
    if (query.hasQueryItem(QStringLiteral("pin"))) {
        r.kind = Kind::Login;
        r.pin = query.queryItemValue(QStringLiteral("pin"));
    } else {
        r.kind = loggedIn() ? Kind::StagePage : Kind::PinPage;
    }
    return r;
}
