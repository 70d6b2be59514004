#include "support/XvfbDisplay.h"

#include "support/LibraryHelpers.h"

#include <QStandardPaths>
#include <gtest/gtest.h>

void XvfbDisplay::start() {
    ASSERT_FALSE(QStandardPaths::findExecutable("Xvfb").isEmpty())
        << "Xvfb is not installed (scripts/setup installs it)";
    // Xvfb picks a free display itself and names it on standard output. Without -noreset it
    // resets whenever its last client leaves (an xdotool call), and a program that connects in
    // that moment cannot ("could not connect to display").
    xvfb_.start("Xvfb", {"-displayfd", "1", "-noreset", "-screen", "0", "1280x900x24"});
    ASSERT_TRUE(xvfb_.waitForStarted()) << "Xvfb did not start";
    QByteArray number;
    helpers::waitUntil(
        [&] {
            xvfb_.waitForReadyRead(50);
            number += xvfb_.readAllStandardOutput();
            return number.contains('\n');
        },
        10000);
    ASSERT_FALSE(number.trimmed().isEmpty()) << "Xvfb named no display";
    qputenv("DISPLAY", ":" + number.trimmed());
    ASSERT_EQ(xvfb_.state(), QProcess::Running)
        << "Xvfb stopped: " << xvfb_.readAllStandardError().toStdString();
}

XvfbDisplay::~XvfbDisplay() {
    xvfb_.terminate();
    // Gone before the next test's starts.
    if (!xvfb_.waitForFinished(3000)) {
        xvfb_.kill();
        xvfb_.waitForFinished(1000);
    }
}
