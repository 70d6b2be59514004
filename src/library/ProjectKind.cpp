#include "library/ProjectKind.h"

#include "library/NsmSongFolder.h"
#include "platform/PathUtilities.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

const ProjectKind& ProjectKind::logicProjects() {
    static const ProjectKind kind;
    return kind;
}

bool ProjectKind::isProject(const QString& path) const {
    if (kind() == Kind::LogicProject) return PathUtilities::pathExtension(path) == extension();
    const QFileInfo info(path);
    if (!info.exists()) return !path.isEmpty(); // a missing session: the DAW control says so
    if (NsmSongFolder::isSongFolder(path) || info.fileName() == NsmSongFolder::listFile())
        return true;
    if (kind() == Kind::ProgramFile) return info.isFile() && info.suffix() == songExtension_;
    if (info.isDir()) return !QDir(path).entryList({"*." + songExtension_}, QDir::Files).isEmpty();
    return info.suffix() == songExtension_;
}

bool ProjectKind::anyProject(const QStringList& paths) const {
    return std::any_of(paths.begin(), paths.end(),
                       [this](const QString& path) { return isProject(path); });
}

QString ProjectKind::projectPath(const QString& path) const {
    if (sessions()) {
        const QFileInfo info(path);
        if (info.isFile() && info.fileName() == NsmSongFolder::listFile())
            return info.absolutePath();
    }
    if (kind() == Kind::SessionFolder) {
        const QFileInfo info(path);
        if (info.isFile() && info.suffix() == songExtension_) return info.absolutePath();
    }
    return path;
}

QString ProjectKind::sessionPath(const QString& path) const {
    const QString project = projectPath(path);
    if (kind() == Kind::ProgramFile && project.endsWith('.' + songExtension_))
        return project.chopped(songExtension_.size() + 1);
    return project;
}

bool ProjectKind::sessionExists(const QString& sessionPath) const {
    if (NsmSongFolder::isSongFolder(sessionPath)) return true;
    if (kind() == Kind::ProgramFile) return QFileInfo(sessionPath + '.' + songExtension_).isFile();
    return QFileInfo(sessionPath).isDir();
}
