#include "app/AppDelegate.h"
#include "app/MainWindow.h"
#include "app/DesktopServices.h"
#include "app/SingleInstance.h"
#include "app/UnixSignalWatcher.h"
#include "library/LibraryStack.h"
#include "midi/MidiServices.h"
#include "platform/Guard.h"
#include "platform/MainQueue.h"

#include <QApplication>
#include <QIcon>

int runApplication(int argc, char** argv) {
    // Without a display (a headless machine) the window is drawn off screen.
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qWarning(
            "No display: the window is drawn off screen (MIDI and the stage loop still work).");
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName("Gigmora");
    QGuiApplication::setDesktopFileName("io.github.gigmora.Gigmora");
    QApplication::setWindowIcon(QIcon(":/images/gigmora.svg"));
    QApplication::setQuitOnLastWindowClosed(false);
    // Two windows on one library would overwrite each other's saves.
    SingleInstance instance(LibraryStack::applicationDocumentsDirectory());
    if (!instance.acquire()) return 0;
    MainQueue::install();
    DesktopServices services;
    int status = 0;
    {
        AppDelegate delegate(MidiServices::createDefault());
        QObject::connect(&delegate, &AppDelegate::quitRequested, &app, &QApplication::quit,
                         Qt::QueuedConnection);
        UnixSignalWatcher signalWatcher;
        QObject::connect(&signalWatcher, &UnixSignalWatcher::terminationRequested, &delegate,
                         [&delegate] { guarded("signal", [&] { delegate.quitFromSignal(); }); });
        guarded("applicationDidFinishLaunching:",
                [&] { delegate.applicationDidFinishLaunching(); });
        delegate.window()->show();
        QObject::connect(&instance, &SingleInstance::raiseRequested, &delegate, [&delegate] {
            MainWindow* w = delegate.window();
            w->showNormal();
            w->raise();
            w->activateWindow();
        });
        status = app.exec();
    }
    return status;
}
