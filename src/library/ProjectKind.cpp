#include "library/ProjectKind.h"

#include "platform/PathUtilities.h"

#include <algorithm>

bool ProjectKind::isProject(const QString& path) {
    return PathUtilities::pathExtension(path) == extension();
}

bool ProjectKind::anyProject(const QStringList& paths) {
    return std::any_of(paths.begin(), paths.end(), &ProjectKind::isProject);
}
