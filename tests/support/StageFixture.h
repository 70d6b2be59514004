#pragma once

#include "app/AppDelegate.h"
#include "app/EditView.h"
#include "app/MainWindow.h"
#include "app/PerformanceView.h"
#include "app/SongDetailsView.h"
#include "platform/SegmentedControl.h"
#include "platform/TableView.h"
#include "support/JackTestClient.h"
#include "support/ScriptedAlerts.h"

#include <QStringList>
#include <gtest/gtest.h>
#include <memory>

class ManagedObject;

// A whole application on a fresh temporary home, with a "Logic Pro X" desktop entry that
// records the files it is asked to open, a JACK test client wired to both endpoints and a
// setlist of songs.
class StageFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // A project folder of that name under the temporary home; its path.
    static QString project(const QString& name);
    // Songs of the setlist "Gig", in running order.
    void makeSetlist(const QStringList& paths);
    void launch();
    QStringList openedFiles() const;
    bool waitForOpened(qsizetype count, int timeoutMs = 5000) const;
    bool waitForCloseCommands(size_t count, int timeoutMs = 5000);
    size_t closeCommands();
    qsizetype selectedSetlistRow() const;
    void selectSetlistRow(qsizetype row);

    ScriptedAlerts alerts;
    std::unique_ptr<AppDelegate> app;
    std::unique_ptr<JackTestClient> midi;
    QList<ManagedObject*> songs;
    QString openedLog;
};
