#pragma once

class MainMidi;
class Prefs;

// What the MIDI engine needs of the application controller, which hands itself to the engine.
class MidiHost {
public:
    virtual ~MidiHost() = default;
    virtual Prefs* sharedPrefs() = 0;
    virtual MainMidi* mainMidiObject() = 0;
    virtual void checkMidi() = 0;
    virtual void checkMidiWithSysex() = 0;
    // After the preferences change a device: rebuild the ports and connections.
    virtual void midiDevicePopUpAction() {}
    virtual void midiSpacebarTriggerDevicePopUpAction() {}
};
