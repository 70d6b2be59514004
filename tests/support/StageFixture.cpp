#include "support/StageFixture.h"

#include "app/MainWindow.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "midi/MainMidi.h"
#include "midi/MidiServices.h"
#include "midi/backends/jack/JackMidiServices.h"
#include "performance/StageState.h"
#include "platform/NotificationCenter.h"
#include "platform/TableView.h"
#include "settings/Prefs.h"
#include "support/JackAvailable.h"
#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <QFile>
#include <algorithm>

using namespace helpers;

void StageFixture::SetUp() {
    REQUIRE_JACK();
    TempHome::clear();
    Alerts::setShared(&alerts);
    openedLog = TempHome::home() + "/opened.log";
    const QString script = TempHome::home() + "/fake-daw.sh";
    writeFile(script,
              QString("#!/bin/sh\nfor a in \"$@\"; do printf '%s\\n' \"$a\" >> '%1'; done\n")
                  .arg(openedLog)
                  .toUtf8());
    QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    writeFile(TempHome::dataHome() + "/applications/fake-logic.desktop",
              QString("[Desktop Entry]\nType=Application\nName=Logic Pro X\nExec=%1 --open %f\n")
                  .arg(script)
                  .toUtf8());
    app = std::make_unique<AppDelegate>(std::make_unique<JackMidiServices>());
    app->sharedPrefs()->prefsSelectedDAWDelay = 0.3f;
}

void StageFixture::TearDown() {
    NotificationCenter::defaultCenter().removeObserver(&midiListener);
    midi.reset();
    app.reset();
    Alerts::setShared(nullptr);
}

void StageFixture::makeSetlist(const QStringList& paths) {
    ObjectContext& c = *app->managedObjectContext();
    ManagedObject* gig = addSetlist(c, "Gig");
    int number = 1;
    for (const QString& path : paths) {
        ManagedObject* song = addSong(c, QFileInfo(path).completeBaseName(), path, number++);
        gig->mutableOrderedSetValueForKey("song").addObject(song);
        songs << song;
    }
}

void StageFixture::launch() {
    app->applicationDidFinishLaunching();
    NotificationCenter::defaultCenter().addObserver(
        &midiListener, "MidiReceived", [this](const Notification&) { ++midiReceived; });
    midi = std::make_unique<JackTestClient>();
    ASSERT_TRUE(midi->connectToGigmora());
    processEvents();
}

QStringList StageFixture::openedFiles() const {
    const QString text = QString::fromUtf8(readFile(openedLog));
    QStringList files;
    for (const QString& line : text.split('\n', Qt::SkipEmptyParts))
        if (line != "--open") files << line;
    return files;
}

bool StageFixture::waitForOpened(qsizetype count, int timeoutMs) const {
    return waitUntil([&] { return openedFiles().size() >= count; }, timeoutMs);
}

namespace {
size_t countOf(JackTestClient& midi, const std::vector<uint8_t>& bytes) {
    const auto events = midi.received();
    return std::count_if(events.begin(), events.end(),
                         [&](const auto& e) { return e.bytes == bytes; });
}
} // namespace

size_t StageFixture::closeCommands() {
    return countOf(*midi, {0xF0, 0x00, 0x22, 0x11, 0x01, 0xF7});
}

bool StageFixture::waitForCloseCommands(size_t count, int timeoutMs) {
    return waitUntil([&] { return closeCommands() >= count; }, timeoutMs);
}

bool StageFixture::sendAndWaitHandled(std::vector<uint8_t> bytes, int timeoutMs) {
    const int before = midiReceived;
    midi->send(std::move(bytes));
    return waitUntil([&] { return midiReceived > before; }, timeoutMs);
}

bool StageFixture::waitForOutput(int timeoutMs) {
    const size_t before = countOf(*midi, {0xC0, 0x68});
    app->mainMidiObject()->sendOneZeroFour();
    return waitUntil([&] { return countOf(*midi, {0xC0, 0x68}) > before; }, timeoutMs);
}

double StageFixture::dawDelay() const {
    return static_cast<double>(app->sharedPrefs()->prefsSelectedDAWDelay);
}

qsizetype StageFixture::selectedSetlistRow() const {
    return app->window()->editView()->setlistTableView()->selectedRow();
}

void StageFixture::selectSetlistRow(qsizetype row) {
    app->window()->editView()->setlistTableView()->selectRowIndexes({row}, false);
    processEvents();
}

DawStatus StageFixture::daw() const {
    return app->stageState()->snapshot().daw;
}
