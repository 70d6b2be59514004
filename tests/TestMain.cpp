#include "platform/MainQueue.h"
#include "support/TempHome.h"

#include <QApplication>
#include <gtest/gtest.h>

// Every test binary runs with a fresh temporary home, so no test touches a real user's files.
int main(int argc, char** argv) {
    TempHome::installForProcess();
    QApplication app(argc, argv);
    QCoreApplication::setApplicationName("Gigmora");
    MainQueue::install();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
