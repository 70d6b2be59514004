#include "app/DelaySlider.h"
#include "app/MyPrefsWindowController.h"
#include "app/RemotePrefsPane.h"
#include "app/StageRemotes.h"
#include "daw/DawControl.h"
#include "midi/MainMidi.h"
#include "platform/TzPrefsWindowController.h"
#include "remote/WebRemote.h"
#include "settings/GigmoraConfig.h"
#include "settings/Prefs.h"
#include "support/EditFixture.h"
#include "support/LibraryHelpers.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTcpServer>
#include <QTest>

using namespace helpers;

class Preferences : public EditFixture {
protected:
    void SetUp() override {
        EditFixture::SetUp();
        launch();
    }
    void TearDown() override {
        TzPrefsWindowController::releaseShared();
        EditFixture::TearDown();
    }
    MyPrefsWindowController* open() {
        app->openPreferences();
        processEvents();
        return MyPrefsWindowController::sharedPrefsWindowController();
    }
    // A control of either pane, by its name in the form.
    template <typename T = QWidget> T* find(const char* name) {
        auto* c = MyPrefsWindowController::sharedPrefsWindowController();
        for (const char* pane : {"Midi", "DAW"})
            if (QWidget* view = c->toolbarViews.value(pane)) {
                if (view->objectName() == name) return qobject_cast<T*>(view);
                if (T* found = view->findChild<T*>(name)) return found;
            }
        return nullptr;
    }
    static QByteArray settingsFile() { return readFile(Prefs::dataFilePath()); }
    static void pick(QComboBox* list, int index) {
        list->setCurrentIndex(index);
        emit list->activated(index);
    }
};

TEST_F(Preferences, ControlsSaveOrNotAsEachOneShould) {
    open();
    pick(find<QComboBox>("prefsMidiChannelPopUp"), 15);
    EXPECT_EQ(Prefs().prefsSelectedMidiChannel.toInt(), 16) << "channel 16 saved at once";

    const QByteArray before = settingsFile();
    pick(find<QComboBox>("prefsMidiPortPopUp"), 0); // the action ends before its save
    EXPECT_EQ(app->sharedPrefs()->prefsSelectedMidiDevice.toInt(), 0);
    EXPECT_EQ(settingsFile(), before) << "an input device writes no file";
    find<QCheckBox>("prefsCreateVirtualPortCheckbox")->setChecked(false);
    QTest::mouseClick(find<QCheckBox>("prefsCreateVirtualPortCheckbox"), Qt::LeftButton);
    EXPECT_TRUE(app->sharedPrefs()->prefsCreateVirtualPort);
    EXPECT_EQ(settingsFile(), before) << "the virtual port action ends before its save";

    find<QCheckBox>("prefsSpacebarMidiTriggerCheckBox")->setChecked(true);
    QTest::mouseClick(find<QCheckBox>("prefsSpacebarMidiTriggerCheckBox"), Qt::LeftButton);
    EXPECT_FALSE(Prefs().spacebarMidiTrigger);
    EXPECT_FALSE(find<QLineEdit>("prefsSpacebarMidiTriggerNote")->isEnabled());

    find<DelaySlider>("prefsDawDelaySlider")->setSliderPosition(25);
    find<DelaySlider>("prefsDawDelaySlider")->triggerAction(QAbstractSlider::SliderMove);
    EXPECT_FLOAT_EQ(Prefs().prefsSelectedDAWDelay, 2.5f);
    pick(find<QComboBox>("prefsDAWPopUp"), 1);
    EXPECT_EQ(Prefs().prefsSelectedDAW.toInt(), 1);

    // Songs' own MIDI on recall: off unless asked for, in Gigmora.conf at once.
    auto* songMessages = find<QCheckBox>("prefsSendSongMessages");
    ASSERT_TRUE(songMessages);
    EXPECT_FALSE(songMessages->isChecked());
    QTest::mouseClick(songMessages, Qt::LeftButton);
    EXPECT_TRUE(GigmoraConfig::midi().sendSongMessages);
    EXPECT_TRUE(app->mainMidiObject()->songOutput()) << "the song output is made at once";
}

// An entry with a refused key ("200" stops at "20") is refused whole, in the file too.
TEST_F(Preferences, SpacebarNoteOnlyAsANumberFrom0To127) {
    open();
    QLineEdit* note = find<QLineEdit>("prefsSpacebarMidiTriggerNote");
    note->setEnabled(true);
    note->clear();
    QTest::keyClicks(note, "64");
    QTest::keyClick(note, Qt::Key_Return);
    ASSERT_EQ(Prefs().prefsSelectedSpacebarMidiNote.toInt(), 64);
    const QByteArray saved = settingsFile();
    note->clear();
    QTest::keyClicks(note, "200");
    QTest::keyClick(note, Qt::Key_Return);
    EXPECT_EQ(app->sharedPrefs()->prefsSelectedSpacebarMidiNote.toInt(), 64);
    EXPECT_EQ(settingsFile(), saved);
    EXPECT_EQ(note->text(), "64") << "the field shows the stored note again";
}

TEST_F(Preferences, BrokenPositionsInTheSettingsFileStillOpen) {
    Prefs* p = app->sharedPrefs();
    p->prefsSelectedMidiDevice = 7;
    p->prefsSelectedMidiChannel = 99;
    p->prefsSelectedSpacebarMidiDevice = -2;
    p->prefsSelectedSpacebarMidiChannel = -4;
    p->prefsSelectedDAW = 12;
    p->prefsBackupDelay = -1e9f;
    p->saveDataToDisk();
    *p = Prefs(); // as the next launch reads the file
    ASSERT_EQ(p->prefsSelectedMidiChannel.toInt(), 99);
    open();
    EXPECT_EQ(find<QComboBox>("prefsMidiPortPopUp")->currentText(), "No Device");
    EXPECT_EQ(find<QComboBox>("prefsMidiChannelPopUp")->currentText(), "1");
    EXPECT_EQ(find<QComboBox>("prefsSpacebarMidiTriggerChannelPopup")->currentText(), "1");
    EXPECT_EQ(find<QComboBox>("prefsDAWPopUp")->currentIndex(), 0);
    EXPECT_EQ(find<DelaySlider>("prefsBackupDelaySlider")->value(), 0);
}

// The DAW control chosen is in Gigmora.conf at once and the application takes it.
TEST_F(Preferences, TheDawPaneSetsTheDawControl) {
    GigmoraConfig::Daw stand_in;
    stand_in.command = QString("\"%1\"").arg(FAKE_NSM_DAW);
    GigmoraConfig::setDaw(stand_in);
    open();
    auto* control = find<QComboBox>("prefsDawControlPopUp");
    auto* command = find<QLineEdit>("prefsDawCommand");
    auto* save = find<QCheckBox>("prefsSaveBeforeSwitch");
    ASSERT_TRUE(control && command && save);
    EXPECT_EQ(control->currentIndex(), 0) << "the default control";
    EXPECT_FALSE(command->isEnabled());
    pick(control, 1);
    EXPECT_TRUE(readFile(GigmoraConfig::filePath()).contains("control=session-manager"));
    EXPECT_TRUE(command->isEnabled());
    ASSERT_TRUE(app->dawControl()->managesSessions());
    EXPECT_TRUE(
        waitUntil([&] { return app->dawControl()->status().phase == DawStatus::Phase::Ready; }));
    QTest::mouseClick(save, Qt::LeftButton);
    EXPECT_TRUE(GigmoraConfig::daw().saveBeforeSwitch);

    pick(control, 0);
    EXPECT_FALSE(app->dawControl()->managesSessions());
    EXPECT_TRUE(waitUntil([&] { return app->dawControl()->status() == DawStatus(); }));
}

// The web remote turned on gets a PIN of its own and the QR code of its address and PIN.
TEST_F(Preferences, TheRemotePaneTurnsTheWebRemoteOn) {
    QTcpServer probe; // a free port for the remote
    ASSERT_TRUE(probe.listen(QHostAddress::LocalHost));
    const int port = probe.serverPort();
    probe.close();
    MyPrefsWindowController* c = open();
    RemotePrefsPane* pane = c->remotePane();
    EXPECT_FALSE(pane->enabledBox()->isChecked()) << "off unless asked for";
    EXPECT_EQ(app->remotes()->webRemote(), nullptr);

    pane->portBox()->setValue(port);
    emit pane->portBox()->editingFinished();
    QTest::mouseClick(pane->enabledBox(), Qt::LeftButton);
    const GigmoraConfig::Remote on = GigmoraConfig::remote();
    EXPECT_TRUE(on.enabled);
    EXPECT_TRUE(GigmoraConfig::isPin(on.pin)) << on.pin.toStdString();
    ASSERT_TRUE(app->remotes()->webRemote());
    EXPECT_EQ(app->remotes()->webRemote()->port(), port);
    EXPECT_FALSE(app->window()->remoteIndicator()->isHidden());
    EXPECT_TRUE(pane->qrText().endsWith(QString(":%1/?pin=%2").arg(port).arg(on.pin)))
        << pane->qrText().toStdString();
    QTest::mouseClick(pane->enabledBox(), Qt::LeftButton);
    EXPECT_FALSE(GigmoraConfig::remote().enabled);
}
