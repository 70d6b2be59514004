#pragma once

#include <QString>
#include <QStringList>

// What counts as a song's project: a Logic Pro project, known by its extension. Drops, the
// open panels' callers and the recall all ask here.
class ProjectKind {
public:
    static QString extension() { return QStringLiteral("logicx"); }
    static bool isProject(const QString& path);
    static bool anyProject(const QStringList& paths);
};
