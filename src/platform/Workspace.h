#pragma once

#include <QString>
#include <QStringList>

// Opens a file with a named application. On Linux the application is the XDG desktop entry
// whose Name is the application's name without ".app", started with its Exec line (field
// codes expanded, no shell, the path passed through untouched); on macOS `open -a`.
class Workspace {
public:
    static bool openFile(const QString& path, const QString& applicationName);

    // The parts of the launch, for tests and diagnostics.
    static QString findDesktopEntry(const QString& name);
    static QStringList commandLine(const QString& desktopEntryPath, const QString& path);
    // Splits an Exec value into arguments by the desktop entry quoting rules.
    static QStringList splitExec(const QString& exec);
};
