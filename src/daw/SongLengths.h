#pragma once

#include <QDateTime>
#include <QHash>
#include <QString>
#include <optional>

// How long each song plays, as its session says, remembered so the stage reads a project only
// once: asking again costs one stat of the session file, and a file saved since is read again.
class SongLengths {
public:
    // The song at `path` (as the library keeps it); none without sessions (`sessions`: the
    // session manager's control) or when the session says nothing of its length.
    std::optional<double> of(const QString& path, bool sessions);

    // "2 songs without a known length", as every total says it.
    static QString withoutLength(int songs);
    // "In all: 42:10; 2 songs without a known length": a set's total, as every place says it.
    static QString total(double seconds, int withoutLength);

private:
    struct Known {
        QString file; // the .ardour file read, else the folder where it was looked for
        QDateTime modified;
        std::optional<double> seconds;
    };
    QHash<QString, Known> known_;
};
