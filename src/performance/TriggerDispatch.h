#pragma once

#include <QObject>
#include <QPointer>

struct MidiCapture;
class Prefs;
class SongRecall;

// Turns what the read procedure captured into performance actions, on the main thread.
class TriggerDispatch : public QObject {
    Q_OBJECT
public:
    static constexpr int kHoldProgram = 126;
    static constexpr int kNextSongProgram = 127;
    static constexpr int kSpacebarNote = 72;

    struct Dependencies {
        SongRecall* recall = nullptr;
        Prefs* sharedPrefs = nullptr;
        QObject* notificationSender = nullptr;
        MidiCapture* capture = nullptr; // what the read procedure captured
    };
    explicit TriggerDispatch(const Dependencies& dependencies, QObject* parent = nullptr);

    void checkMidi();
    void checkMidiWithSysex();
    void checkMidiSpacebar();
    void spacebarSetup();
    void spaceBar() {}
    void checkForActive();

private:
    QPointer<SongRecall> recall;
    Prefs* sharedPrefs;
    QPointer<QObject> notificationSender;
    MidiCapture* capture_;
};
