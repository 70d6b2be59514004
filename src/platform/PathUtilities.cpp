#include "platform/PathUtilities.h"

QString PathUtilities::lastPathComponent(const QString& path) {
    QString p = path;
    while (p.size() > 1 && p.endsWith('/'))
        p.chop(1);
    const qsizetype slash = p.lastIndexOf('/');
    return slash < 0 || p == QLatin1String("/") ? p : p.mid(slash + 1);
}

QString PathUtilities::pathExtension(const QString& path) {
    const QString last = lastPathComponent(path);
    const qsizetype dot = last.lastIndexOf('.');
    if (dot <= 0 || dot == last.size() - 1) return {};
    return last.mid(dot + 1);
}

QString PathUtilities::deletingPathExtension(const QString& component) {
    const QString ext = pathExtension(component);
    return ext.isEmpty() ? component : component.left(component.size() - ext.size() - 1);
}
