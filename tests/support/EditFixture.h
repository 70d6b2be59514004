#pragma once

#include "app/AppDelegate.h"
#include "app/EditView.h"
#include "app/MainWindow.h"
#include "app/PerformanceView.h"
#include "app/SongDetailsView.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "platform/SegmentedControl.h"
#include "platform/TableView.h"
#include "support/ScriptedAlerts.h"
#include "support/ScriptedOpenPanel.h"

#include <QAction>
#include <QMimeData>
#include <QStringList>
#include <gtest/gtest.h>
#include <memory>

// The whole application without MIDI on a fresh temporary home, its window shown, with
// scripted alerts and open panels: the edit screen as a person uses it.
class EditFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    void launch();

    ObjectContext& context() { return *app->managedObjectContext(); }
    // An Ardour-like session folder holding NAME.ardour, with a session range when `seconds`.
    static QString session(const QString& name, int seconds = 0);
    // Library songs, numbered from 1 in this order.
    QList<ManagedObject*> addSongs(const QStringList& names);
    // A launched library whose setlist "Gig" of these songs is the current one (between "Fri"
    // and "Sat" with `neighbours`).
    QList<ManagedObject*> gig(const QStringList& names, bool neighbours = false);
    ManagedObject* currentSetlist();
    QList<ManagedObject*> setlistSongs();
    TableView* songList() { return app->window()->editView()->allSongsTableView(); }
    TableView* setlistTable() { return app->window()->editView()->setlistTableView(); }
    TableView* setlistsTable() { return app->window()->editView()->topListOfSetlistsTableView(); }
    // Real drag events as a file manager's drop arrives: enter, move, drop.
    bool dropFiles(TableView* table, const QStringList& files, qsizetype row, bool onRow = false) {
        return dropFilesAt(table, files, rowPoint(table, row, onRow ? 0.5 : 0.1));
    }
    bool dropFilesAt(TableView* table, const QStringList& files, QPoint at);
    QPoint rowPoint(TableView* table, qsizetype row, double fraction = 0.5);
    static qint64 number(ManagedObject* song) { return song->integerValue("midiIn"); }
    // A click on a segment of the mode selector: 0 edit, 1 perform, 2 song details.
    void choose(int segment);
    // The window's menu command of this text ("&Undo"), or null.
    QAction* command(const QString& text);

    ScriptedAlerts alerts;
    ScriptedOpenPanel panel;
    std::unique_ptr<AppDelegate> app;
};
