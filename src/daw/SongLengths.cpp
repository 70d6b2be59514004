#include "daw/SongLengths.h"

#include "daw/ArdourSession.h"
#include "daw/SessionCheck.h"
#include "library/ProjectKind.h"

#include <QFileInfo>

std::optional<double> SongLengths::of(const QString& path, bool sessions) {
    if (!sessions || path.isEmpty()) return std::nullopt;
    const auto found = known_.constFind(path);
    if (found != known_.cend() && QFileInfo(found->file).lastModified() == found->modified)
        return found->seconds;
    const ProjectKind kind(ProjectKind::Kind::SessionFolder);
    const QString folder = kind.projectPath(path);
    Known k;
    if (kind.isProject(path))
        if (const Result<ArdourSession> read = ArdourSession::read(folder)) {
            k.file = read->snapshot;
            k.seconds = read->seconds;
        }
    // Without a session file, a folder that gains one changes its own time.
    if (k.file.isEmpty()) k.file = folder;
    k.modified = QFileInfo(k.file).lastModified();
    known_.insert(path, k);
    return k.seconds;
}

QString SongLengths::total(double seconds, int withoutLength) {
    QString words = QStringLiteral("In all: ") + SessionCheck::length(seconds);
    if (withoutLength > 0)
        words += QStringLiteral("; ") + SongLengths::withoutLength(withoutLength);
    return words;
}

QString SongLengths::withoutLength(int songs) {
    return QStringLiteral("%1 %2 without a known length")
        .arg(songs)
        .arg(songs == 1 ? QStringLiteral("song") : QStringLiteral("songs"));
}
