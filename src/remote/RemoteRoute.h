#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>
#include <functional>

// Where one request to the web remote goes, decided from what the browser sent alone: its
// method, target, headers and whether it carried a body. Nothing here answers or trusts it.
struct RemoteRoute {
    enum class Kind {
        Upgrade,        // the page's WebSocket
        RefusedUpgrade, // a WebSocket without a session or from another origin
        OnlyGet,
        NoBodies,
        Login, // a PIN to check
        StagePage,
        PinPage,
        Asset, // one of the page's files, if `path` names one
    };
    using Headers = QList<QPair<QByteArray, QByteArray>>;
    using SessionCheck = std::function<bool(const QString& token)>;

    static inline const QByteArray kSessionCookie = QByteArrayLiteral("gigmora_session");

    static RemoteRoute of(bool isGet, const QUrl& url, const Headers& headers, bool hasBody,
                          const SessionCheck& hasSession);
    // The first header of that name, whatever its case; empty if there is none.
    static QByteArray header(const Headers& headers, const QByteArray& name);
    // The value of cookie `name` in a Cookie header; empty if it is not there.
    static QString cookie(const QByteArray& cookies, const QByteArray& name);

    Kind kind = Kind::PinPage;
    QString pin;
    QString path;
};
