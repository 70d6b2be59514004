#include "app/DesktopServices.h"
#include "app/MainWindow.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "support/EditFixture.h"
#include "support/LibraryHelpers.h"
#include "support/TempHome.h"
#include "support/XvfbDisplay.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenuBar>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>

using namespace helpers;

// The services a person meets are the real ones in the application: the tests elsewhere
// answer alerts and open panels from a script, so only this shows the real ones are there
// (a scripted panel would open no dialog).
class DesktopServicesTest : public EditFixture {};

// Library ▸ Add Song… opens a file dialog; a project folder typed into it and confirmed with
// Return becomes a song.
TEST_F(DesktopServicesTest, AddSongOpensAFileDialogThatAddsTheChosenProject) {
    launch();
    DesktopServices services;
    const QString chosen = project("Ballad.logicx");
    QAction* addSong = nullptr;
    for (QAction* menu : app->window()->menuBar()->actions())
        if (menu->menu())
            for (QAction* a : menu->menu()->actions())
                if (a->text() == "Add Song…") addSong = a;
    ASSERT_TRUE(addSong);
    bool dialogSeen = false;
    QTimer::singleShot(0, [&] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (!dialog) return;
        dialogSeen = true;
        auto* name = dialog->findChild<QLineEdit*>("fileNameEdit");
        if (!name) return dialog->reject();
        QTest::keyClicks(name, chosen);
        QTest::keyClick(name, Qt::Key_Return);
    });
    addSong->trigger(); // the dialog's own event loop runs the person's typing
    ASSERT_TRUE(dialogSeen) << "no file dialog opened";
    QStringList paths;
    for (ManagedObject* s : context().executeFetchRequest({"Song", {}, {}, 0}))
        paths << s->stringValue("path");
    EXPECT_EQ(paths, QStringList{chosen});
}

namespace {
// xdotool's answer, trimmed.
QString xdotool(const QStringList& args) {
    QProcess x;
    x.start("xdotool", args);
    x.waitForFinished(10000);
    return QString::fromUtf8(x.readAllStandardOutput()).trimmed();
}
} // namespace

// The real program in a real window: Ctrl+O opens the file dialog, a project folder's path
// typed into it and Return add the song, which the library keeps.
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
    QString window;
    ASSERT_TRUE(waitUntil(
        [&] {
            return !(window = xdotool({"search", "--onlyvisible", "--name", "^Gigmora$"}))
                        .isEmpty();
        },
        20000))
        << "the window never showed";
    window = window.section('\n', 0, 0);
    // A loaded machine can map the window before Qt takes keys, so a first Ctrl+O may fall
    // on nothing; a person would press it again.
    const auto dialogShown = [&] {
        return !xdotool({"search", "--onlyvisible", "--name", "^Open$"}).isEmpty();
    };
    bool opened = false;
    for (int attempt = 0; attempt < 4 && !opened; ++attempt) {
        xdotool({"windowfocus", "--sync", window});
        xdotool({"key", "ctrl+o"});
        opened = waitUntil(dialogShown, 5000);
    }
    ASSERT_TRUE(opened)
        << "no file dialog opened; windows shown: "
        << xdotool({"search", "--onlyvisible", "--name", ".", "getwindowname", "%@"}).toStdString()
        << "\nGigmora said: " << gigmora.readAll().toStdString();
    // Typed into the dialog itself, whichever window the keyboard was on.
    xdotool({"windowfocus", "--sync",
             xdotool({"search", "--onlyvisible", "--name", "^Open$"}).section('\n', 0, 0)});
    xdotool({"type", "--delay", "5", chosen});
    xdotool({"key", "Return"});
    EXPECT_TRUE(waitUntil(
        [&] {
            return xdotool({"search", "--onlyvisible", "--name", "^Open$"}).isEmpty();
        },
        10000));
    gigmora.terminate(); // saves the library
    ASSERT_TRUE(gigmora.waitForFinished(10000));
    EXPECT_TRUE(readFile(storePath()).contains(chosen.toUtf8())) << "the song was not kept";
}
