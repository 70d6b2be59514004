// Runs a session manager as Gigmora does, for a test that kills it the way a crash would:
// session_manager_host RUNTIME_FOLDER STAGE_SONG DAW [ARGS…]. Prints "LOADED <path>" for each
// session the DAW has loaded.
#include "daw/SessionManager.h"

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 4) return 64;
    SessionManager::Options options;
    options.runtimeFolder = args[1];
    options.stageSong = [song = args[2]] { return song; };
    options.program = args.mid(3);
    SessionManager manager(options);
    QObject::connect(&manager, &SessionManager::loaded, [](const QString& path) {
        std::printf("LOADED %s\n", qPrintable(path));
        std::fflush(stdout);
    });
    manager.start();
    return app.exec();
}
