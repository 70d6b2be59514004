#pragma once

#include <QString>
#include <QStringList>

// What counts as a song's project, for the DAW control in use: a Logic Pro project known by
// its extension (the default), or a DAW session folder (for Ardour, a folder holding a
// ".ardour" file; such a file stands for its folder). Drops, the open panel's callers and the
// recall all ask the one the DAW control keeps, which sets it from its settings.
class ProjectKind {
public:
    enum class Kind { LogicProject, SessionFolder };
    explicit ProjectKind(Kind kind = Kind::LogicProject) : kind_(kind) {}
    void setKind(Kind kind) { kind_ = kind; }
    Kind kind() const { return kind_; }
    // The kind the settings start with, for a part given none.
    static const ProjectKind& logicProjects();

    static QString extension() { return QStringLiteral("logicx"); }
    bool isProject(const QString& path) const;
    bool anyProject(const QStringList& paths) const;
    // The path a song keeps: a session file's folder, otherwise the path itself.
    QString projectPath(const QString& path) const;

private:
    Kind kind_;
};
