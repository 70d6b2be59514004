#pragma once

#include <QObject>
#include <QPointer>

class Prefs;
class SongRecall;

// Turns what the read procedure captured into performance actions, on the main thread.
class TriggerDispatch : public QObject {
    Q_OBJECT
public:
    static constexpr int kHoldProgram = 126;
    static constexpr int kNextSongProgram = 127;
    static constexpr int kSpacebarNote = 72;

    explicit TriggerDispatch(QObject* parent = nullptr);

    void checkMidi();
    void checkMidiWithSysex();
    void checkMidiSpacebar();
    void spacebarSetup();
    void spaceBar() {}
    void checkForActive();

    QPointer<SongRecall> recall;
    Prefs* sharedPrefs = nullptr;
    QPointer<QObject> notificationSender;
};
