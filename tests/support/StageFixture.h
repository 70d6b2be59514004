#pragma once

#include "app/AppDelegate.h"
#include "app/EditView.h"
#include "app/MainWindow.h"
#include "app/PerformanceView.h"
#include "app/SongDetailsView.h"
#include "daw/DawStatus.h"
#include "platform/SegmentedControl.h"
#include "platform/TableView.h"
#include "support/JackTestClient.h"
#include "support/ScriptedAlerts.h"

#include <QObject>
#include <QStringList>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

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
    // Sends `bytes` to Gigmora's input and waits until Gigmora has dealt with them (it
    // announces every message it reads before acting on it, on the main thread).
    bool sendAndWaitHandled(std::vector<uint8_t> bytes, int timeoutMs = 5000);
    // Has Gigmora send a harmless program change (104) and waits for it: whatever Gigmora sent
    // before it has arrived by then.
    bool waitForOutput(int timeoutMs = 5000);
    // The DAW delay now set, in seconds: an opening scheduled so far has run once the main
    // queue has run a job timed this far ahead.
    double dawDelay() const;
    qsizetype selectedSetlistRow() const;
    // What the stage last published of the DAW.
    DawStatus daw() const;
    void selectSetlistRow(qsizetype row);

    ScriptedAlerts alerts;
    std::unique_ptr<AppDelegate> app;
    std::unique_ptr<JackTestClient> midi;
    QList<ManagedObject*> songs;
    QString openedLog;
    int midiReceived = 0; // messages Gigmora has read and announced
    QObject midiListener;
};
