#include "library/ProjectKind.h"

#include "platform/PathUtilities.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <atomic>

namespace {
std::atomic<ProjectKind::Kind> g_kind{ProjectKind::Kind::LogicProject};
const QString kSessionExtension = QStringLiteral("ardour");

bool holdsSession(const QString& folder) {
    return !QDir(folder).entryList({"*." + kSessionExtension}, QDir::Files).isEmpty();
}
} // namespace

void ProjectKind::setKind(Kind kind) {
    g_kind.store(kind);
}

ProjectKind::Kind ProjectKind::kind() {
    return g_kind.load();
}

bool ProjectKind::isProject(const QString& path) {
    if (kind() == Kind::LogicProject) return PathUtilities::pathExtension(path) == extension();
    const QFileInfo info(path);
    if (!info.exists()) return !path.isEmpty(); // a missing session: the DAW control says so
    if (info.isDir()) return holdsSession(path);
    return info.suffix() == kSessionExtension;
}

bool ProjectKind::anyProject(const QStringList& paths) {
    return std::any_of(paths.begin(), paths.end(), &ProjectKind::isProject);
}

QString ProjectKind::projectPath(const QString& path) {
    if (kind() == Kind::SessionFolder) {
        const QFileInfo info(path);
        if (info.isFile() && info.suffix() == kSessionExtension) return info.absolutePath();
    }
    return path;
}
