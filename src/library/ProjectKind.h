#pragma once

#include <QString>
#include <QStringList>

// What counts as a song's project, for the DAW control in use: a Logic Pro project known by
// its extension (the default), or a DAW session folder (for Ardour, a folder holding a
// ".ardour" file; such a file stands for its folder). Drops, the open panel's callers and the
// recall all ask here; the application sets the kind from its settings.
class ProjectKind {
public:
    enum class Kind { LogicProject, SessionFolder };
    static void setKind(Kind kind);
    static Kind kind();

    static QString extension() { return QStringLiteral("logicx"); }
    static bool isProject(const QString& path);
    static bool anyProject(const QStringList& paths);
    // The path a song keeps: a session file's folder, otherwise the path itself.
    static QString projectPath(const QString& path);
};
