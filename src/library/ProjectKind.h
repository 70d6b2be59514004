#pragma once

#include <QString>
#include <QStringList>

// What counts as a song's project, for the DAW control in use: a Logic Pro project known by
// its extension (the default); under the session manager, what its program takes for a song:
// a session folder (for Ardour, a folder holding a ".ardour" file; such a file stands for its
// folder) or a file of its own (a ZynAddSubFX ".xmz"); for any program, a song folder of
// several programs (see NsmSongFolder; its "session.nsm" stands for it). Drops, the open panel's
// callers and the recall all ask the one the DAW control keeps, which sets it from its settings.
class ProjectKind {
public:
    enum class Kind { LogicProject, SessionFolder, ProgramFile };
    explicit ProjectKind(Kind kind = Kind::LogicProject,
                         QString songExtension = QStringLiteral("ardour"))
        : kind_(kind), songExtension_(std::move(songExtension)) {}
    Kind kind() const { return kind_; }
    bool sessions() const { return kind_ != Kind::LogicProject; }
    QString songExtension() const { return songExtension_; }
    // The kind the settings start with, for a part given none.
    static const ProjectKind& logicProjects();

    static QString extension() { return QStringLiteral("logicx"); }
    bool isProject(const QString& path) const;
    bool anyProject(const QStringList& paths) const;
    // The path a song keeps: a session file's folder, otherwise the path itself.
    QString projectPath(const QString& path) const;
    // The path the session manager opens for a song: its session folder, or its file without
    // the extension (the program adds it: ZynAddSubFX loads PATH.xmz).
    QString sessionPath(const QString& path) const;
    // Whether something the program can load is at `sessionPath`.
    bool sessionExists(const QString& sessionPath) const;

private:
    Kind kind_;
    QString songExtension_;
};
