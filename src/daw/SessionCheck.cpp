#include "daw/SessionCheck.h"

#include "daw/ArdourSession.h"
#include "daw/PluginCatalog.h"
#include "library/ProjectKind.h"

#include <QFileInfo>
#include <cmath>

SessionCheck SessionCheck::of(const QString& path, const Conditions& conditions) {
    SessionCheck c;
    const std::optional<int>& serverRate = conditions.serverRate;
    const ProjectKind& kind = conditions.songs;
    const QString project = kind.projectPath(path);
    if (!QFileInfo::exists(project)) {
        c.problems << QStringLiteral("The project is missing: nothing is at %1.").arg(project);
        return c;
    }
    if (!kind.isProject(path)) {
        const QString takes =
            kind.kind() == ProjectKind::Kind::LogicProject
                ? QStringLiteral("the default control opens Logic projects (.logicx)")
            : kind.kind() == ProjectKind::Kind::ProgramFile
                ? QStringLiteral("its program takes .%1 files").arg(kind.songExtension())
                : QStringLiteral("its program takes folders with a .%1 file")
                      .arg(kind.songExtension());
        c.problems << QStringLiteral("It is not a project the chosen DAW control can open: %1.")
                          .arg(takes);
        return c;
    }
    // Only an Ardour session says something readable of itself.
    if (kind.kind() != ProjectKind::Kind::SessionFolder || kind.songExtension() != "ardour")
        return c;
    const Result<ArdourSession> read = ArdourSession::read(project);
    if (!read) {
        c.problems << QStringLiteral("Its session cannot be read: %1.").arg(read.failure().words);
        return c;
    }
    const ArdourSession& s = read.value();
    c.seconds = s.seconds;
    if (serverRate && s.sampleRate != *serverRate)
        c.problems << QStringLiteral("It was recorded at %1 Hz and the JACK server runs at %2 Hz: "
                                     "Ardour stops on its \"Sample Rate Mismatch\" question.")
                          .arg(s.sampleRate)
                          .arg(*serverRate);
    if (s.version > ArdourSession::kNewestVersion)
        c.problems << QStringLiteral("It was saved by a newer Ardour (format %1), which this "
                                     "Ardour may refuse to open.")
                          .arg(s.version);
    if (s.pending)
        c.problems << QStringLiteral("It has a crash-recovery file (%1): Ardour stops to ask "
                                     "whether to recover. Open the song in Ardour once and "
                                     "answer, or remove the file.")
                          .arg(QFileInfo(s.snapshot.chopped(7) + ".pending").fileName());
    for (const QString& uri : s.lv2)
        if (conditions.plugins && !conditions.plugins->hasLv2(uri))
            c.problems << QStringLiteral("It uses a plugin that is not installed (%1): Ardour "
                                         "loads the song with the plugin's place kept and "
                                         "nothing running there.")
                              .arg(uri);
    if (!s.missingFiles.isEmpty())
        c.problems << QStringLiteral("It misses recorded audio (%1): Ardour stops on its "
                                     "\"Missing Files\" question; skipped, those regions are "
                                     "silent.")
                          .arg(s.missingFiles.join(", "));
    if (!conditions.routed && !conditions.serverPorts.isEmpty() && s.masterConnections) {
        QStringList absent;
        for (const QString& port : *s.masterConnections)
            if (!conditions.serverPorts.contains(port)) absent << port;
        if (s.masterConnections->isEmpty())
            c.problems << QStringLiteral("Its Master bus was saved connected to nothing: the song "
                                         "is silent until it is connected in Ardour.");
        else if (!absent.isEmpty())
            c.problems << QStringLiteral("Its Master bus was saved connected to %1, which this "
                                         "JACK server does not have: Ardour leaves %2 unconnected "
                                         "and the song may be silent.")
                              .arg(absent.join(", "), absent.size() == 1 ? "it" : "them");
    }
    return c;
}

std::optional<double> SessionCheck::lengthOf(const QString& path, bool sessions) {
    const ProjectKind kind(ProjectKind::Kind::SessionFolder);
    if (!sessions || !kind.isProject(path)) return std::nullopt;
    const Result<ArdourSession> read = ArdourSession::read(kind.projectPath(path));
    return read ? read->seconds : std::nullopt;
}

QString SessionCheck::length(double seconds) {
    const qint64 s = std::llround(seconds);
    return s >= 3600 ? QStringLiteral("%1:%2:%3")
                           .arg(s / 3600)
                           .arg(s / 60 % 60, 2, 10, QChar('0'))
                           .arg(s % 60, 2, 10, QChar('0'))
                     : QStringLiteral("%1:%2").arg(s / 60).arg(s % 60, 2, 10, QChar('0'));
}
