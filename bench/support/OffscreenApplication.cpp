#include "support/OffscreenApplication.h"

#include "midi/backends/none/NullMidiServices.h"
#include "platform/MainQueue.h"
#include "support/TempHome.h"

OffscreenApplication::OffscreenApplication(int& argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    TempHome::installForProcess();
    qapp_ = std::make_unique<QApplication>(argc, argv);
    QCoreApplication::setApplicationName("Gigmora");
    MainQueue::install();
    Alerts::setShared(&alerts);
    app_ = std::make_unique<AppDelegate>(std::make_unique<NullMidiServices>());
    app_->applicationDidFinishLaunching();
}

OffscreenApplication::~OffscreenApplication() {
    app_.reset();
    Alerts::setShared(nullptr);
}
