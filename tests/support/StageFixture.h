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

// A whole application on a fresh home, a "Logic Pro X" that records what it opens, and a JACK
// test client wired to both endpoints.
class StageFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Songs of the setlist "Gig", in running order.
    void makeSetlist(const QStringList& paths);
    void launch();
    QStringList openedFiles() const;
    bool waitForOpened(qsizetype count, int timeoutMs = 5000) const;
    bool waitForCloseCommands(size_t count, int timeoutMs = 5000);
    size_t closeCommands();
    // Sends and waits until Gigmora has announced reading it (before acting on it).
    bool sendAndWaitHandled(std::vector<uint8_t> bytes, int timeoutMs = 5000);
    // Waits for a harmless program change (104) Gigmora sends: what it sent before has come.
    bool waitForOutput(int timeoutMs = 5000);
    // The DAW delay in seconds: how far ahead a main-queue job runs after a scheduled opening.
    double dawDelay() const;
    qsizetype selectedSetlistRow() const;
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
