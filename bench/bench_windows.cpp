// Mode switches of the main window, showings of the preferences window and repaints of song
// details, with a library of 10,000 songs, timed from the call to the window settled
// (animations not waited for).
#include "app/AppDelegate.h"
#include "app/EditView.h"
#include "app/MainWindow.h"
#include "app/MyPrefsWindowController.h"
#include "app/PerformanceView.h"
#include "app/SongDetailsView.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "platform/SegmentedControl.h"
#include "platform/TableView.h"
#include "support/LibraryHelpers.h"
#include "support/OffscreenApplication.h"
#include "support/TempHome.h"

#include <QApplication>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

using namespace helpers;

namespace {
double msOf(const std::function<void()>& f) {
    const auto t0 = std::chrono::steady_clock::now();
    f();
    QApplication::processEvents();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
}

void print(const char* name, std::vector<double> ms) {
    std::sort(ms.begin(), ms.end());
    std::printf("%-52s median %6.2f ms, p95 %6.2f ms\n", name, ms[ms.size() / 2],
                ms[std::min(ms.size() - 1, ms.size() * 95 / 100)]);
}
} // namespace

int main(int argc, char** argv) {
    OffscreenApplication offscreen(argc, argv);
    AppDelegate& app = offscreen.app();
    ObjectContext& c = *app.managedObjectContext();
    for (int i = 0; i < 10000; ++i)
        addSong(c, QString("Song number %1").arg(i), QString("/music/Song %1.logicx").arg(i),
                i + 1);
    c.save();
    MainWindow* w = app.window();
    w->show();
    processEvents();

    std::printf("library: 10000 songs\n");
    const char* names[] = {"mode switch to Edit", "mode switch to Perform",
                           "mode switch to Song Details"};
    std::vector<double> modes[3];
    for (int i = 0; i < 90; ++i) {
        w->topButtons()->setSelectedSegment(i % 3);
        modes[i % 3].push_back(msOf([&] { app.shwoView(w->topButtons()); }));
    }
    for (int mode = 0; mode < 3; ++mode)
        print(names[mode], modes[mode]);
    const double first = msOf([&] { app.openPreferences(); });
    std::vector<double> later;
    for (int i = 0; i < 30; ++i) {
        MyPrefsWindowController::sharedPrefsWindowController()->window()->hide();
        later.push_back(msOf([&] { app.openPreferences(); }));
    }
    std::printf("%-52s %6.2f ms\n", "preferences window, first show", first);
    print("preferences window, later shows", later);

    // Song details with a picked song of three messages: the message table's repaint under
    // each kind of search, and the song picker's (which asks the message table to reload).
    w->topButtons()->setSelectedSegment(2);
    app.shwoView(w->topButtons());
    w->songDetailsView()->songPicker()->selectRowIndexes({0}, false);
    for (int i = 0; i < 3; ++i)
        w->findChild<QPushButton*>("addMidiMessageButton")->click();
    processEvents();
    const struct {
        const char* name;
        const char* search;
    } searches[] = {{"no search", ""},
                    {"search \"number 9\"", "number 9"},
                    {"search \"é\" (diacritics folded)", "é"}};
    for (const auto& s : searches) {
        w->findChild<QLineEdit*>("searchField")->setText(QString::fromUtf8(s.search));
        w->songDetailsView()->songPicker()->selectRowIndexes({0}, false);
        processEvents();
        std::vector<double> messages, picker;
        for (int i = 0; i < 60; ++i) {
            messages.push_back(
                msOf([&] { w->songDetailsView()->messageTable()->viewport()->repaint(); }));
            picker.push_back(
                msOf([&] { w->songDetailsView()->songPicker()->viewport()->repaint(); }));
        }
        print((std::string("message table repaint, ") + s.name).c_str(), messages);
        print((std::string("song picker repaint, ") + s.name).c_str(), picker);
    }
    return 0;
}
