#include "support/LibraryHelpers.h"
#include "support/TempHome.h"
#include "support/XvfbDisplay.h"

#include <QDir>
#include <QProcess>
#include <QStandardPaths>
#include <gtest/gtest.h>

using namespace helpers;

namespace {
// xdotool's answer, trimmed.
QString xdotool(const QStringList& args) {
    QProcess x;
    x.start("xdotool", args);
    x.waitForFinished(10000);
    return QString::fromUtf8(x.readAllStandardOutput()).trimmed();
}
} // namespace

// The real program in a real window, with the real services (the other tests script alerts and
// open panels): Ctrl+O opens the file dialog, a project's path typed and Return add the song.
TEST(DesktopServicesProgram, CtrlOInTheRealWindowAddsAProject) {
    TempHome::clear();
    ASSERT_FALSE(QStandardPaths::findExecutable("xdotool").isEmpty())
        << "xdotool is not installed (scripts/setup installs it)";
    XvfbDisplay display;
    ASSERT_NO_FATAL_FAILURE(display.start());
    const QString chosen = TempHome::home() + "/music/Ballad.logicx";
    QDir().mkpath(chosen);
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove("QT_QPA_PLATFORM"); // the X display
    env.insert("GIGMORA_MIDI", "none");
    QProcess gigmora;
    gigmora.setProcessEnvironment(env);
    gigmora.setProcessChannelMode(QProcess::MergedChannels);
    gigmora.start(GIGMORA_BINARY);
    ASSERT_TRUE(gigmora.waitForStarted());
    // The first window of that name, or "".
    const auto find = [](const char* name) {
        return xdotool({"search", "--onlyvisible", "--name", name}).section('\n', 0, 0);
    };
    QString window;
    ASSERT_TRUE(waitUntil([&] { return !(window = find("^Gigmora$")).isEmpty(); }, 20000))
        << "the window never showed; Gigmora said: " << gigmora.readAll().toStdString();
    // A loaded machine can map the window before Qt takes keys, so a first Ctrl+O may fall
    // on nothing; a person would press it again.
    bool opened = false;
    for (int attempt = 0; attempt < 4 && !opened; ++attempt) {
        xdotool({"windowfocus", "--sync", window});
        xdotool({"key", "ctrl+o"});
        opened = waitUntil([&] { return !find("^Open$").isEmpty(); }, 5000);
    }
    ASSERT_TRUE(opened)
        << "no file dialog opened; windows shown: "
        << xdotool({"search", "--onlyvisible", "--name", ".", "getwindowname", "%@"}).toStdString()
        << "\nGigmora said: " << gigmora.readAll().toStdString();
    // Typed into the dialog itself, whichever window the keyboard was on.
    xdotool({"windowfocus", "--sync", find("^Open$")});
    xdotool({"type", "--delay", "5", chosen});
    xdotool({"key", "Return"});
    EXPECT_TRUE(waitUntil([&] { return find("^Open$").isEmpty(); }, 10000));
    gigmora.terminate(); // saves the library
    ASSERT_TRUE(gigmora.waitForFinished(10000));
    EXPECT_TRUE(readFile(storePath()).contains(chosen.toUtf8())) << "the song was not kept";
}
