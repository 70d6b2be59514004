#pragma once

#include <QString>

class PathUtilities {
public:
    // The extension of a path's last component ("logicx" for ".../Song.logicx/"), or empty.
    static QString pathExtension(const QString& path);
    static QString lastPathComponent(const QString& path);
    static QString deletingPathExtension(const QString& component);
};
