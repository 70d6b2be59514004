#include "performance/TriggerDispatch.h"

#include "midi/MidiCapture.h"
#include "midi/NextSongTrigger.h"
#include "performance/SongRecall.h"
#include "platform/KeyboardEvents.h"
#include "platform/MainQueue.h"
#include "platform/NotificationCenter.h"
#include "settings/Prefs.h"

TriggerDispatch::TriggerDispatch(const Dependencies& d, QObject* parent)
    : QObject(parent), recall(d.recall), sharedPrefs(d.sharedPrefs),
      notificationSender(d.notificationSender), capture_(d.capture) {}

void TriggerDispatch::checkMidi() {
    NotificationCenter::defaultCenter().post("MidiReceived", notificationSender);
    if (!capture_) return;
    MidiCapture& captured = *capture_;
    const uint64_t status = captured.status.load(std::memory_order_relaxed);
    if ((status >> 4) != 0xC) return;
    // The capture now holds the channel, which disarms it until a new message arrives.
    const uint64_t channel = status - 191;
    captured.status.store(channel, std::memory_order_relaxed);
    const qint64 selected = sharedPrefs ? sharedPrefs->prefsSelectedMidiChannel.toLongLong() : 0;
    const uint64_t program = captured.data1.load(std::memory_order_relaxed);
    if (static_cast<qint64>(channel) == selected && program == kHoldProgram && recall)
        recall->kAsNumber = kHoldProgram;
    // The next-song program works on every channel; the hold program only on the chosen one.
    const uint8_t message[] = {uint8_t(status), uint8_t(program)};
    if (isNextSongTrigger(message, sizeof message) && recall) {
        recall->kAsNumber = kNextSongProgram;
        recall->runMyScriptInController();
    }
}

void TriggerDispatch::checkMidiWithSysex() {
    if (recall) recall->runMyScriptInController();
}

void TriggerDispatch::checkMidiSpacebar() {
    if (!capture_) return;
    MidiCapture& captured = *capture_;
    const uint64_t status = captured.status.load(std::memory_order_relaxed);
    if ((status >> 4) != 0x9) return;
    const uint64_t channel = status - 143;
    captured.status.store(channel, std::memory_order_relaxed);
    if (captured.data1.load() != kSpacebarNote || captured.data2.load() == 0) return;
    const qint64 wanted =
        sharedPrefs ? sharedPrefs->prefsSelectedSpacebarMidiChannel.toLongLong() : 0;
    if (static_cast<qint64>(channel) != wanted) return;
    if (recall) recall->kAsNumber = kSpacebarNote;
    KeyboardEvents::postKeyPress(KeyboardEvents::kVirtualKeySpace);
}

void TriggerDispatch::spacebarSetup() {
    MainQueue::after(0.2, [self = QPointer<TriggerDispatch>(this)] {
        if (self) self->spaceBar();
    });
}

void TriggerDispatch::checkForActive() {
    // The application keeps no documents, so there is never a current one and this stops here.
    const bool hasCurrentDocument = false;
    if (!hasCurrentDocument) return;
    if (recall && recall->waitingFlag() != 0) recall->runMyScriptInController();
}
