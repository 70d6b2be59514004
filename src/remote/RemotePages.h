#pragma once

#include <QByteArray>
#include <QString>

// The web remote's files, compiled into the program: the stage page, the PIN page and what
// they load. Nothing comes from the file system or the internet.
class RemotePages {
public:
    struct File {
        QByteArray body;
        QByteArray type;
    };
    // The page's own files by path ("/remote.js"); empty for any other path.
    static File asset(const QString& path);
    static QByteArray stagePage();
    // The PIN page with `message` (plain text) under the field.
    static QByteArray pinPage(const QString& message);
    // The headers every answer carries: nothing is cached, framed or loaded from elsewhere.
    static const QByteArray kPolicy;
};
