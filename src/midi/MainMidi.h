#pragma once

#include "midi/MidiCapture.h"
#include "midi/MidiTypes.h"

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QVariant>
#include <initializer_list>
#include <memory>
#include <string_view>

class MidiHost;
class MidiServices;
class ManagedObject;
class Prefs;
class SongOutput;
#include <QTimer>

// The MIDI engine: the client, the virtual destination every message arrives at, the virtual
// source every message leaves from, the fixed control messages for the DAW, and the hooks the
// rest of the program calls. The device registry stays empty on purpose.
class MainMidi : public QObject {
    Q_OBJECT
public:
    static constexpr const char* kClientName = "Gigmora Midi";
    static constexpr const char* kVirtualInputName = "Gigmora Virtual Input";
    static constexpr MIDIUniqueID kVirtualInputUniqueID = 19711971;
    static constexpr MIDIUniqueID kVirtualOutputUniqueID = 19731973;
    // The model property of every port of Gigmora's.
    static inline const QString kModel = QStringLiteral("Vantori Software");

    // `host` (the application controller) gets the read procedure's jobs and lends its settings.
    MainMidi(MidiServices& services, MidiHost* host, QObject* parent = nullptr);
    ~MainMidi() override;

    MidiHost* host() const { return host_; }
    // What the read procedure of "Gigmora Virtual Input" captured last.
    MidiCapture& capture() { return capture_; }

    void createMidiPort();
    // Whether songs' own messages go out on recall: "Gigmora Song Output" exists only then,
    // from the next createMidiPort() on.
    void setSongOutput(bool on);
    SongOutput* songOutput() const { return songOutput_.get(); }
    void disConnectFromMidiSourceWithUniqueID();
    void connectToMidiDestinationWithUniqueID();
    QString uniqueIDDevice();
    int returnMidiDeviceForDestinationUsingUniqueID(MIDIUniqueID uniqueID) const;

    // Kept empty: other parts call them and nothing happens.
    void mainMidiGetNumberOfSources() {}
    void mainMidiGetNumberOfDestinations() {}
    void disconnectAllMidi() {}
    void connectToSpacebarMidiSourceWithUniqueID() {}
    void disConnectFromSpacebarMidiSourceWithUniqueID() {}
    void connectToVirtualMidiSource() {}
    void newConnectToMidiDestination(const QVariant&) {}
    void updateMidiDevicePopupSelection() {}
    void updateSpacebarMidiTriggerDevicePopupSelection() {}
    void updateMidiDeviceForDestinationPopupSelection() {}
    void checkIfSelectedDeviceRemoved() {}
    void populateNameCopyArray() {}

    // Asks the engine for an operation by name. One it does not offer ends the caller's
    // operation (the unknown-operation line is logged) and returns false; the engine never
    // gains them.
    [[nodiscard]] bool perform(std::string_view selector);

    void sendOneZeroFour();
    void sendOneZeroFive();
    void sendOneZeroSix();
    void sendOneZeroSeven();
    void sendMidiStop();
    void sendMidiPeriod();
    void sendMidiReturnToZero();
    void sendMidiNumKey0();
    void sendMidiNumKey1();
    void sendMidiNumKey2();
    void sendMidiNumKey3();
    void sendMidiNumKey4();
    void sendMidiNumKey5();
    void sendMidiNumKey6();
    void sendMidiNumKey7();
    void sendMidiNumKey8();
    void sendMidiNumKey9();
    void sendLogicClose();
    void sendLogicNextSong();
    void startBackupTimer();
    void startBackupTimer2();

    // The device-change notification procedure given to the client.
    static void notifyProc(const MIDINotification* message, void* refCon);

    MIDIClientRef client() const { return client_; }
    MIDIPortRef inPort() const { return inPort_; }
    MIDIEndpointRef destVirtualsrc() const { return destVirtualsrc_; }
    MIDIEndpointRef sourceVirtualsrc() const { return sourceVirtualsrc_; }
    MIDIObjectRef gigmoraDestinationEndpointFromUniqueID() const {
        return gigmoraDestinationEndpointFromUniqueID_;
    }
    QTimer* backupTimer() const { return backupTimer_; }
    QTimer* backupTimer2() const { return backupTimer2_; }
    MidiServices& services() const { return services_; }

    QVariant mainMidiNumberOfSources;
    QVariant mainMidiNumberOfDestinations;
    QStringList mNameCopyArray;
    QStringList mNameCopyArrayForDest;
    QVariantList mIDArray;
    ManagedObject* importedSong = nullptr;
    ManagedObject* importedMidiMessage = nullptr;

private:
    void send(std::initializer_list<uint8_t> bytes);
    void sendButton(uint8_t zone, uint8_t port);
    QTimer* scheduleOneShot(double seconds, void (MainMidi::*operation)());
    void replaceTimer(QPointer<QTimer>& slot, QTimer* timer);
    Prefs* prefs() const;

    MidiServices& services_;
    MidiHost* host_;
    MidiCapture capture_;
    MIDIClientRef client_ = 0;
    MIDIPortRef inPort_ = 0;
    MIDIPortRef inPortSpacebar_ = 0;
    MIDIPortRef outPort_ = 0;
    MIDIEndpointRef destVirtualsrc_ = 0;
    MIDIEndpointRef sourceVirtualsrc_ = 0;
    MIDIObjectRef gigmoraDestinationEndpointFromUniqueID_ = 0;
    QPointer<QTimer> backupTimer_;
    QPointer<QTimer> backupTimer2_;
    std::unique_ptr<SongOutput> songOutput_;
};
