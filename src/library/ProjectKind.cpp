#include "library/ProjectKind.h"

#include "platform/PathUtilities.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

namespace {
const QString kSessionExtension = QStringLiteral("ardour");

bool holdsSession(const QString& folder) {
    return !QDir(folder).entryList({"*." + kSessionExtension}, QDir::Files).isEmpty();
}
} // namespace

const ProjectKind& ProjectKind::logicProjects() {
    static const ProjectKind kind;
    return kind;
}

bool ProjectKind::isProject(const QString& path) const {
    if (kind() == Kind::LogicProject) return PathUtilities::pathExtension(path) == extension();
    const QFileInfo info(path);
    if (!info.exists()) return !path.isEmpty(); // a missing session: the DAW control says so
    if (info.isDir()) return holdsSession(path);
    return info.suffix() == kSessionExtension;
}

bool ProjectKind::anyProject(const QStringList& paths) const {
    return std::any_of(paths.begin(), paths.end(),
                       [this](const QString& path) { return isProject(path); });
}

QString ProjectKind::projectPath(const QString& path) const {
    if (kind() == Kind::SessionFolder) {
        const QFileInfo info(path);
        if (info.isFile() && info.suffix() == kSessionExtension) return info.absolutePath();
    }
    return path;
}
