#include "app/MyPrefsWindowController.h"

#include "app/DelaySlider.h"
#include "app/RemotePrefsPane.h"
#include "midi/MainMidi.h"
#include "midi/MidiHost.h"
#include "platform/GuardedConnect.h"
#include "platform/RangeValidator.h"
#include "settings/GigmoraConfig.h"
#include "settings/Prefs.h"
#include "ui_Preferences.h"

#include <algorithm>

namespace {
const QString kNoDevice = QStringLiteral("No Device");

// A control's action inside the guard, so a failed request ends it with one log line.
template <typename Signal, typename Sender>
void wire(Sender* sender, Signal signal, MyPrefsWindowController* c, const char* name,
          void (MyPrefsWindowController::*method)()) {
    guardedConnect(sender, signal, c, name, [c, method] { (c->*method)(); });
}

qint64 integer(const QVariant& v) {
    return v.toLongLong();
}

// A remembered position that the list no longer has shows the first item, not a blank list.
void selectOrFirst(QComboBox* list, qint64 position) {
    list->setCurrentIndex(position >= 0 && position < list->count() ? int(position) : 0);
}
} // namespace

MyPrefsWindowController::MyPrefsWindowController()
    : ui_(std::make_unique<Ui::Preferences>()), remotePane_(nullptr) {
    ui_->setupUi(shelf());
    remotePane_ = new RemotePrefsPane(shelf());
    connect(remotePane_, &RemotePrefsPane::settingsChanged, this,
            &MyPrefsWindowController::remoteSettingsChanged);
    // Typed notes outside 0-127 never get into the field.
    QLineEdit* note = ui_->prefsSpacebarMidiTriggerNote;
    note->setValidator(new RangeValidator(0, 127, note));
    connect(note, &QLineEdit::inputRejected, this, [this] { noteRefused_ = true; });
    // Emptied by hand, the field starts a new entry.
    connect(note, &QLineEdit::textEdited, this, [this](const QString& text) {
        if (text.isEmpty()) noteRefused_ = false;
    });
    connectControls();
}

MyPrefsWindowController::~MyPrefsWindowController() = default;

MyPrefsWindowController* MyPrefsWindowController::sharedPrefsWindowController() {
    return static_cast<MyPrefsWindowController*>(
        TzPrefsWindowController::sharedPrefsWindowController<MyPrefsWindowController>());
}

void MyPrefsWindowController::connectControls() {
    Ui::Preferences& u = *ui_;
    using Combo = QComboBox;
    using C = MyPrefsWindowController;
    wire(u.prefsMidiPortPopUp, &Combo::activated, this,
         "PrefsMidiDevicePopUpAction:", &C::PrefsMidiDevicePopUpAction);
    wire(u.prefsMidiOutPortPopUp, &Combo::activated, this,
         "PrefsMidiDeviceForDestinationPopUpAction:", &C::PrefsMidiDeviceForDestinationPopUpAction);
    wire(u.prefsMidiChannelPopUp, &Combo::activated, this,
         "PrefsMidiChannelPopUpAction:", &C::PrefsMidiChannelPopUpAction);
    wire(u.prefsDAWPopUp, &Combo::activated, this, "PrefsDAWPopUpAction:", &C::PrefsDAWPopUpAction);
    wire(u.prefsSpacebarMidiTriggerPortPopup, &Combo::activated, this,
         "PrefsSpacebarMidiTriggerDevicePopUpAction:",
         &C::PrefsSpacebarMidiTriggerDevicePopUpAction);
    wire(u.prefsSpacebarMidiTriggerChannelPopup, &Combo::activated, this,
         "PrefsSpacebarMidiTriggerChannelPopUpAction:",
         &C::PrefsSpacebarMidiTriggerChannelPopUpAction);
    // Moves by the person only: loading a value does not count as a change.
    wire(u.prefsDawDelaySlider, &QSlider::actionTriggered, this,
         "PrefsDAWOpenDelay:", &C::PrefsDAWOpenDelay);
    wire(u.prefsBackupDelaySlider, &QSlider::actionTriggered, this,
         "PrefsBackupSyncDelay:", &C::PrefsBackupSyncDelay);
    wire(u.prefsCreateVirtualPortCheckbox, &QCheckBox::clicked, this,
         "PrefsCreateVirtualPortAction:", &C::PrefsCreateVirtualPortAction);
    wire(u.prefsSpacebarMidiTriggerCheckBox, &QCheckBox::clicked, this,
         "PrefsSpacebarMidiTriggerCheckboxAction:", &C::PrefsSpacebarMidiTriggerCheckboxAction);
    wire(u.prefsSpacebarMidiTriggerNote, &QLineEdit::editingFinished, this,
         "spacebarMidiTriggerNoteEdited", &C::spacebarMidiTriggerNoteEdited);
    wire(u.learnMessageToLogic, &QPushButton::clicked, this,
         "sendLearnButtonToLogic:", &C::sendLearnButtonToLogic);
    wire(u.nextSongMessageToLogic, &QPushButton::clicked, this,
         "sendNextSongButtonToLogic:", &C::sendNextSongButtonToLogic);
    wire(u.prefsDawControlPopUp, &Combo::activated, this, "dawControl", &C::dawControlEdited);
    wire(u.prefsDawCommand, &QLineEdit::editingFinished, this, "dawCommand", &C::dawControlEdited);
    wire(u.prefsSaveBeforeSwitch, &QCheckBox::clicked, this, "saveBeforeSwitch",
         &C::dawControlEdited);
    wire(u.prefsStandby, &QCheckBox::clicked, this, "standby", &C::dawControlEdited);
    wire(u.prefsAudioOutputs, &QLineEdit::editingFinished, this, "outputs", &C::dawControlEdited);
    wire(u.prefsMainOutputs, &QLineEdit::editingFinished, this, "mainOutputs",
         &C::dawControlEdited);
    wire(u.prefsCrossfade, &QSpinBox::editingFinished, this, "crossfade", &C::dawControlEdited);
    wire(u.prefsSpillover, &QSpinBox::editingFinished, this, "spillover", &C::dawControlEdited);
    wire(u.prefsTransportOnSwitch, &Combo::activated, this, "transportOnSwitch",
         &C::dawControlEdited);
    wire(u.prefsSendSongMessages, &QCheckBox::clicked, this, "sendSongMessages",
         &C::songMessagesEdited);
}

QString MyPrefsWindowController::channelsText(const GigmoraConfig::Daw& daw) {
    return QStringLiteral("%1, from %2")
        .arg(std::max(2, int(daw.outputs.size())))
        .arg(daw.mainOutputs.join(QStringLiteral(" then ")));
}

QString MyPrefsWindowController::channelsTip(const GigmoraConfig::Daw& daw) {
    QStringList to;
    for (int c = 0; c < std::max(2, int(daw.outputs.size())); ++c) {
        const QString out = daw.outputs.value(c);
        to << QStringLiteral("%1 → %2").arg(c + 1).arg(out.isEmpty() ? QStringLiteral("nowhere")
                                                                     : out);
    }
    return to.join('\n');
}

void MyPrefsWindowController::showDawControl() {
    const GigmoraConfig::Daw daw = GigmoraConfig::daw();
    Ui::Preferences& u = *ui_;
    const bool managed = daw.control == GigmoraConfig::Daw::Control::SessionManager;
    u.prefsDawControlPopUp->setCurrentIndex(managed ? 1 : 0);
    u.prefsDawCommand->setText(daw.command);
    u.prefsSaveBeforeSwitch->setChecked(daw.saveBeforeSwitch);
    u.prefsDawCommand->setEnabled(managed);
    u.prefsSaveBeforeSwitch->setEnabled(managed);
    u.prefsStandby->setChecked(daw.standby);
    u.prefsStandby->setEnabled(managed);
    u.prefsAudioOutputs->setText(daw.outputs.join(QStringLiteral(", ")));
    u.prefsMainOutputs->setText(daw.mainOutputs.join(QStringLiteral(", ")));
    u.prefsChannels->setText(channelsText(daw));
    u.prefsChannels->setToolTip(channelsTip(daw));
    u.prefsCrossfade->setValue(daw.crossfadeSamples);
    u.prefsSpillover->setValue(daw.spilloverMs);
    u.prefsTransportOnSwitch->setCurrentIndex(int(daw.transportOnSwitch));
    for (QWidget* w : std::initializer_list<QWidget*>{u.prefsAudioOutputs, u.prefsMainOutputs,
                                                      u.prefsChannels, u.prefsCrossfade,
                                                      u.prefsSpillover, u.prefsTransportOnSwitch})
        w->setEnabled(managed && daw.standby);
}

void MyPrefsWindowController::dawControlEdited() {
    Ui::Preferences& u = *ui_;
    const GigmoraConfig::Daw before = GigmoraConfig::daw();
    GigmoraConfig::Daw daw = before;
    daw.control = u.prefsDawControlPopUp->currentIndex() == 1
                      ? GigmoraConfig::Daw::Control::SessionManager
                      : GigmoraConfig::Daw::Control::Logic;
    if (!u.prefsDawCommand->text().trimmed().isEmpty()) daw.command = u.prefsDawCommand->text();
    daw.saveBeforeSwitch = u.prefsSaveBeforeSwitch->isChecked();
    daw.standby = u.prefsStandby->isChecked();
    daw.outputs =
        GigmoraConfig::listOf(u.prefsAudioOutputs->text()).mid(0, GigmoraConfig::kMaxChannels);
    QStringList marks = GigmoraConfig::listOf(u.prefsMainOutputs->text());
    marks.removeAll(QString());
    if (!marks.isEmpty()) daw.mainOutputs = marks;
    daw.crossfadeSamples = u.prefsCrossfade->value();
    daw.spilloverMs = u.prefsSpillover->value();
    daw.transportOnSwitch =
        GigmoraConfig::Daw::Transport(std::clamp(u.prefsTransportOnSwitch->currentIndex(), 0, 2));
    if (daw == before) return;
    GigmoraConfig::setDaw(daw);
    showDawControl();
    emit dawSettingsChanged();
}

void MyPrefsWindowController::songMessagesEdited() {
    const bool on = ui_->prefsSendSongMessages->isChecked();
    if (GigmoraConfig::midi().sendSongMessages == on) return;
    GigmoraConfig::setMidi({on});
    emit songMessagesChanged(on);
}

void MyPrefsWindowController::setupToolbar() {
    sharedPrefs = host_ ? host_->sharedPrefs() : nullptr;
    sharedMainMidi = host_ ? host_->mainMidiObject() : nullptr;
    addView(ui_->logicPrefsView, "Midi");
    addView(ui_->generalPrefsView, "DAW");
    addView(remotePane_, "Remote");
    remotePane_->showSettings();
    if (!sharedPrefs) return;
    ui_->dawDelay->setText(QString::asprintf("%.2g", double(sharedPrefs->prefsSelectedDAWDelay)));
    ui_->prefsDawDelaySlider->setDoubleValue(sharedPrefs->prefsSelectedDAWDelay);
    showCurrentSettings();
    showDawControl();
    ui_->prefsSendSongMessages->setChecked(GigmoraConfig::midi().sendSongMessages);
    // Filled at every showing, each on its own: a filler that ends early leaves the others.
    guarded("populatePrefsPopup", [this] { populatePrefsPopup(); });
    guarded("populatePrefsPopupForDestination", [this] { populatePrefsPopupForDestination(); });
    guarded("populateMidiChannelPopup", [this] { populateMidiChannelPopup(); });
}

void MyPrefsWindowController::showCurrentSettings() {
    Ui::Preferences& u = *ui_;
    u.prefsBackupDelaySlider->setDoubleValue(sharedPrefs->prefsBackupDelay);
    u.backupSyncDelay->setText(u.prefsBackupDelaySlider->stringValue());
    u.prefsCreateVirtualPortCheckbox->setChecked(sharedPrefs->prefsCreateVirtualPort);
    u.prefsSpacebarMidiTriggerCheckBox->setChecked(sharedPrefs->spacebarMidiTrigger);
    setSpacebarControlsEnabled(sharedPrefs->spacebarMidiTrigger);
    showSpacebarNote();
    selectOrFirst(u.prefsDAWPopUp, integer(sharedPrefs->prefsSelectedDAW));
}

void MyPrefsWindowController::setSpacebarControlsEnabled(bool on) {
    for (QWidget* w : {static_cast<QWidget*>(ui_->prefsSpacebarMidiTriggerPortPopup),
                       static_cast<QWidget*>(ui_->prefsSpacebarMidiTriggerChannelPopup),
                       static_cast<QWidget*>(ui_->prefsSpacebarMidiTriggerNote)})
        w->setEnabled(on);
}

void MyPrefsWindowController::populatePrefsPopup() {
    Ui::Preferences& u = *ui_;
    u.prefsMidiPortPopUp->clear();
    u.prefsSpacebarMidiTriggerPortPopup->clear();
    if (!sharedMainMidi || !sharedPrefs) return;
    const qint64 n = integer(sharedMainMidi->mainMidiNumberOfSources);
    const qint64 s = integer(sharedPrefs->prefsSelectedMidiDevice);
    if (n == 0) {
        u.prefsMidiPortPopUp->insertItem(0, kNoDevice);
        u.prefsSpacebarMidiTriggerPortPopup->insertItem(0, kNoDevice);
    }
    prefsWindowSourcesArray = sharedMainMidi->mNameCopyArray;
    if (s >= n) {
        u.prefsMidiPortPopUp->setCurrentIndex(0);
        return;
    }
    u.prefsMidiChannelPopUp->clear();
    u.prefsSpacebarMidiTriggerPortPopup->clear();
    u.prefsMidiPortPopUp->addItems(prefsWindowSourcesArray);
    u.prefsSpacebarMidiTriggerPortPopup->addItems(prefsWindowSourcesArray);
    selectOrFirst(u.prefsMidiPortPopUp, s);
    selectOrFirst(u.prefsSpacebarMidiTriggerPortPopup,
                  integer(sharedPrefs->prefsSelectedSpacebarMidiDevice));
}

void MyPrefsWindowController::populatePrefsPopupForDestination() {
    ui_->prefsMidiOutPortPopUp->clear();
    if (!sharedMainMidi || !sharedPrefs) return;
    if (!sharedMainMidi->perform("populateNameCopyArrayForDestination")) return;
    sharedMainMidi->updateMidiDeviceForDestinationPopupSelection();
    const qint64 m = integer(sharedMainMidi->mainMidiNumberOfDestinations);
    if (m == 0) ui_->prefsMidiOutPortPopUp->insertItem(0, kNoDevice);
    prefsWindowDestinationArray = sharedMainMidi->mNameCopyArrayForDest;
    for (qint64 i = 0; i < m && i < prefsWindowDestinationArray.size(); ++i)
        ui_->prefsMidiOutPortPopUp->insertItem(int(i), prefsWindowDestinationArray[i]);
    selectOrFirst(ui_->prefsMidiOutPortPopUp, integer(sharedPrefs->prefsSelectedMidiOutDevice));
}

void MyPrefsWindowController::populateMidiChannelPopup() {
    Ui::Preferences& u = *ui_;
    u.prefsMidiChannelPopUp->clear(); // the spacebar list is left as it is: it grows
    for (int i = 0; i < 16; ++i) {
        u.prefsMidiChannelPopUp->insertItem(i, QString::number(i + 1));
        u.prefsSpacebarMidiTriggerChannelPopup->insertItem(i, QString::number(i + 1));
    }
    if (!sharedPrefs) return;
    selectOrFirst(u.prefsMidiChannelPopUp, integer(sharedPrefs->prefsSelectedMidiChannel) - 1);
    selectOrFirst(u.prefsSpacebarMidiTriggerChannelPopup,
                  integer(sharedPrefs->prefsSelectedSpacebarMidiChannel) - 1);
}

void MyPrefsWindowController::PrefsMidiDevicePopUpAction() {
    const int index = ui_->prefsMidiPortPopUp->currentIndex();
    sharedPrefs->prefsSelectedMidiDevice = index;
    if (!sharedMainMidi->perform("grabAndStoreMidiSourceAsUniqueID:")) return;
    if (host_) host_->midiDevicePopUpAction();
}

void MyPrefsWindowController::PrefsMidiDeviceForDestinationPopUpAction() {
    sharedPrefs->prefsSelectedMidiOutDevice = ui_->prefsMidiOutPortPopUp->currentIndex();
    if (host_) host_->midiDevicePopUpAction();
}

void MyPrefsWindowController::PrefsMidiChannelPopUpAction() {
    sharedPrefs->prefsSelectedMidiChannel = ui_->prefsMidiChannelPopUp->currentIndex() + 1;
    sharedPrefs->saveDataToDisk();
}

void MyPrefsWindowController::PrefsDAWPopUpAction() {
    sharedPrefs->prefsSelectedDAW = ui_->prefsDAWPopUp->currentIndex();
    sharedPrefs->saveDataToDisk();
}

void MyPrefsWindowController::PrefsDAWOpenDelay() {
    // actionTriggered comes before the move lands; the slider's position is the new value.
    DelaySlider* slider = ui_->prefsDawDelaySlider;
    slider->setValue(slider->sliderPosition());
    sharedPrefs->prefsSelectedDAWDelay = float(slider->doubleValue());
    ui_->dawDelay->setText(slider->stringValue());
    sharedPrefs->saveDataToDisk();
}

void MyPrefsWindowController::PrefsBackupSyncDelay() {
    DelaySlider* slider = ui_->prefsBackupDelaySlider;
    slider->setValue(slider->sliderPosition());
    sharedPrefs->prefsBackupDelay = float(slider->doubleValue());
    ui_->backupSyncDelay->setText(slider->stringValue());
    sharedPrefs->saveDataToDisk();
}

void MyPrefsWindowController::PrefsCreateVirtualPortAction() {
    sharedPrefs->prefsCreateVirtualPort = ui_->prefsCreateVirtualPortCheckbox->isChecked();
    sharedMainMidi->disconnectAllMidi();
    sharedMainMidi->createMidiPort();
    ui_->prefsMidiPortPopUp->setEnabled(true);
    ui_->midiReceivePortLabel->setEnabled(true);
    if (!sharedMainMidi->perform("connectToMidiSourceWithUniqueID")) return;
    sharedPrefs->saveDataToDisk();
}

void MyPrefsWindowController::PrefsSpacebarMidiTriggerCheckboxAction() {
    const bool on = ui_->prefsSpacebarMidiTriggerCheckBox->isChecked();
    sharedPrefs->spacebarMidiTrigger = on;
    setSpacebarControlsEnabled(on);
    if (on)
        sharedMainMidi->connectToSpacebarMidiSourceWithUniqueID();
    else
        sharedMainMidi->disConnectFromSpacebarMidiSourceWithUniqueID();
    sharedPrefs->saveDataToDisk();
}

void MyPrefsWindowController::PrefsSpacebarMidiTriggerDevicePopUpAction() {
    sharedPrefs->prefsSelectedSpacebarMidiDevice =
        ui_->prefsSpacebarMidiTriggerPortPopup->currentIndex();
    if (!sharedMainMidi->perform("grabAndStoreMidiSpacebarSourceAsUniqueID:")) return;
    if (host_) host_->midiSpacebarTriggerDevicePopUpAction();
}

void MyPrefsWindowController::PrefsSpacebarMidiTriggerChannelPopUpAction() {
    sharedPrefs->prefsSelectedSpacebarMidiChannel =
        ui_->prefsSpacebarMidiTriggerChannelPopup->currentIndex() + 1;
    sharedPrefs->saveDataToDisk();
}

void MyPrefsWindowController::showSpacebarNote() {
    const QVariant note = sharedPrefs->prefsSelectedSpacebarMidiNote;
    ui_->prefsSpacebarMidiTriggerNote->setText(note.isValid() ? QString::number(integer(note))
                                                              : QString());
    noteRefused_ = false;
}

void MyPrefsWindowController::spacebarMidiTriggerNoteEdited() {
    if (noteRefused_) {
        // What is left of a refused entry is not what was meant: the stored note stays.
        showSpacebarNote();
        return;
    }
    bool ok = false;
    const int note = ui_->prefsSpacebarMidiTriggerNote->text().toInt(&ok);
    if (!ok || note < 0 || note > 127) return; // the validator lets only 0-127 through
    sharedPrefs->prefsSelectedSpacebarMidiNote = note;
    sharedPrefs->saveDataToDisk();
}

void MyPrefsWindowController::sendLearnButtonToLogic() {
    sharedMainMidi->sendLogicClose(); // the learn button sends the close message
}

void MyPrefsWindowController::sendNextSongButtonToLogic() {
    sharedMainMidi->sendLogicNextSong();
}
