#include "app/ExportCommand.h"

#include <QCoreApplication>
#include <QTextStream>
#include <cstdio>
#include <cstring>

int runApplication(int argc, char** argv);

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "export") == 0) {
        QCoreApplication app(argc, argv);
        QCoreApplication::setApplicationName("Gigmora");
        QTextStream out(stdout), err(stderr);
        QStringList args = QCoreApplication::arguments().mid(2);
        return ExportCommand::run(args, out, err);
    }
    return runApplication(argc, argv);
}
