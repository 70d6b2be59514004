#pragma once

#include "platform/TzPrefsWindowController.h"
#include "settings/GigmoraConfig.h"

#include <QStringList>
#include <memory>

class MainMidi;
class MidiHost;
class Prefs;
class QComboBox;
class RemotePrefsPane;
namespace Ui {
class Preferences;
}

// The preferences window: the "Midi", "DAW" and "Remote" panes. Each control writes into the shared
// settings and, for most, saves them at once; device and port controls also rebuild MIDI.
class MyPrefsWindowController : public TzPrefsWindowController {
    Q_OBJECT
public:
    MyPrefsWindowController();
    ~MyPrefsWindowController() override;

    static MyPrefsWindowController* sharedPrefsWindowController();
    // The application controller whose settings and engine the panes show; set before showing.
    void setHost(MidiHost* host) { host_ = host; }
    void setupToolbar() override;

    void populatePrefsPopup();
    void populatePrefsPopupForDestination();
    void populateMidiChannelPopup();

    void PrefsMidiDevicePopUpAction();
    void PrefsMidiDeviceForDestinationPopUpAction();
    void PrefsMidiChannelPopUpAction();
    void PrefsDAWPopUpAction();
    void PrefsDAWOpenDelay();
    void PrefsBackupSyncDelay();
    void PrefsCreateVirtualPortAction();
    void PrefsSpacebarMidiTriggerCheckboxAction();
    void PrefsSpacebarMidiTriggerDevicePopUpAction();
    void PrefsSpacebarMidiTriggerChannelPopUpAction();
    void spacebarMidiTriggerNoteEdited();

    void sendLearnButtonToLogic();
    void sendNextSongButtonToLogic();
    void sendMasterPlayForLogicXMessage() {}
    void sendBackupSyncForLogicXMessage() {}

    Ui::Preferences& ui() { return *ui_; }
    RemotePrefsPane* remotePane() const { return remotePane_; }
    QStringList prefsWindowSourcesArray;
    QStringList prefsWindowDestinationArray;
    Prefs* sharedPrefs = nullptr;
    MainMidi* sharedMainMidi = nullptr;
    MidiHost* host_ = nullptr;

signals:
    // The DAW control was changed and stored in Gigmora.conf.
    void dawSettingsChanged();
    // The web remote was changed and stored in Gigmora.conf.
    void remoteSettingsChanged();
    // Sending songs' own MIDI on recall was turned on or off and stored.
    void songMessagesChanged(bool on);

private:
    void connectControls();
    // Gigmora.conf's DAW control: shown from the file, stored at once when changed.
    void showDawControl();
    // "4, from Master/audio_out then Cues/audio_out"; where each goes, a line each.
    static QString channelsText(const GigmoraConfig::Daw& daw);
    static QString channelsTip(const GigmoraConfig::Daw& daw);
    void dawControlEdited();
    void songMessagesEdited();
    // The settings that setupToolbar does not load, shown as they are.
    void showCurrentSettings();
    void setSpacebarControlsEnabled(bool on);
    void showSpacebarNote();

    std::unique_ptr<Ui::Preferences> ui_;
    RemotePrefsPane* remotePane_; // on the shelf with the other panes
    // A key of this entry was refused ("200" stops at "20"): the entry is refused whole.
    bool noteRefused_ = false;
};
