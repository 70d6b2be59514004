#include "support/TempHome.h"

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <cstdlib>
#include <memory>

namespace {
std::unique_ptr<QTemporaryDir> g_dir;
}

void TempHome::installForProcess() {
    g_dir = std::make_unique<QTemporaryDir>(QDir::tempPath() + "/gigmora-test-XXXXXX");
    const QByteArray root = g_dir->path().toUtf8();
    qputenv("HOME", root);
    qputenv("XDG_DATA_HOME", root + "/.local/share");
    qputenv("XDG_CONFIG_HOME", root + "/.config");
    qputenv("XDG_DATA_DIRS", root + "/.local/share-system");
    // XDG_RUNTIME_DIR stays: the JACK server's socket lives there.
    std::atexit([] { g_dir.reset(); });
    QStandardPaths::setTestModeEnabled(false);
}

QString TempHome::home() {
    return g_dir->path();
}
QString TempHome::dataHome() {
    return g_dir->path() + "/.local/share";
}

void TempHome::clear() {
    // Symbolic links are removed, never followed.
    QDir(g_dir->path()).removeRecursively();
    QDir().mkpath(g_dir->path());
}
