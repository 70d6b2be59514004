#pragma once

#include <QList>
#include <QString>

// A song kept as a session folder of the session-manager protocol: a "session.nsm" lists its
// programs, a line "name:executable:id" each, and each program's data for the song lies beside
// it as "NAME.ID" (a folder or a file, as that program keeps it).
class NsmSongFolder {
public:
    struct Program {
        QString name, executable, id;
        bool operator==(const Program&) const = default;
    };
    static QString listFile() { return QStringLiteral("session.nsm"); }
    // Whether `path` is such a folder (one with a "session.nsm").
    static bool isSongFolder(const QString& path);
    // The programs of the folder at `path`, in the file's order; lines that are not
    // "name:executable:id", or whose executable is a path, are passed over. Empty when there
    // is no list.
    static QList<Program> programs(const QString& path);
    // Where the program keeps its data for the song in `folder`.
    static QString dataPath(const QString& folder, const Program& program);
    // The entry for a program started as `executable` ("ardour7" is Ardour's "ardour" too).
    static const Program* find(const QList<Program>& programs, const QString& executable);
};
