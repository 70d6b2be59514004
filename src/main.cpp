#include "app/CheckCommand.h"
#include "app/CommandLine.h"
#include "app/ExportCommand.h"

#include <QGuiApplication>
#include <QTextStream>
#include <cstdio>
#include <cstring>

int runApplication(int argc, char** argv);

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "export") == 0) {
        // Laying out a PDF needs fonts, so a GUI application, but never a display.
        qputenv("QT_QPA_PLATFORM", "offscreen");
        QGuiApplication app(argc, argv);
        QCoreApplication::setApplicationName("Gigmora");
        QTextStream out(stdout), err(stderr);
        QStringList args = QCoreApplication::arguments().mid(2);
        return ExportCommand::run(args, out, err);
    }
    if (argc > 1 && std::strcmp(argv[1], "check") == 0) {
        QCoreApplication app(argc, argv);
        QCoreApplication::setApplicationName("Gigmora");
        QTextStream out(stdout), err(stderr);
        return CheckCommand::run(QCoreApplication::arguments().mid(2), out, err);
    }
    if (argc > 1) {
        // Answered without Qt's application object: no display, MIDI or library touched.
        QStringList args;
        for (int i = 1; i < argc; ++i)
            args << QString::fromLocal8Bit(argv[i]);
        QTextStream out(stdout), err(stderr);
        if (const auto status = CommandLine::handle(args, out, err)) return *status;
    }
    return runApplication(argc, argv);
}
