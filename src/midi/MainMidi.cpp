#include "midi/MainMidi.h"

#include "midi/MidiHost.h"
#include "midi/MidiPacketList.h"
#include "midi/MidiServices.h"
#include "midi/ReadProcedure.h"
#include "midi/SongOutput.h"
#include "platform/Guard.h"
#include "platform/MainQueue.h"
#include "platform/UnknownOperationError.h"
#include "settings/Prefs.h"

#include <QTimer>
#include <atomic>
#include <cmath>
#include <cstring>
#include <string>

MainMidi::MainMidi(MidiServices& services, MidiHost* host, QObject* parent)
    : QObject(parent), services_(services), host_(host) {}

MainMidi::~MainMidi() {
    if (client_) services_.clientDispose(client_); // no read procedure runs after this
    MainQueue::cancel(this);                       // and none of its jobs
}

Prefs* MainMidi::prefs() const {
    return host_ ? host_->sharedPrefs() : nullptr;
}

void MainMidi::createMidiPort() {
    if (client_ != 0) {
        services_.clientDispose(client_); // takes the old endpoints with it
        client_ = 0;
    }
    services_.clientCreate(QLatin1String(kClientName), &MainMidi::notifyProc, this, &client_);
    services_.portDispose(inPort_);
    inPort_ = 0;
    services_.destinationCreate(client_, QLatin1String(kVirtualInputName),
                                &ReadProcedure::midiReadProc, this, &destVirtualsrc_);
    services_.objectSetIntegerProperty(destVirtualsrc_, MidiProperty::UniqueID,
                                       kVirtualInputUniqueID);
    services_.objectSetStringProperty(destVirtualsrc_, MidiProperty::Model, kModel);
    services_.sourceCreate(client_, QStringLiteral("Gigmora Virtual Output"), &sourceVirtualsrc_);
    services_.objectSetIntegerProperty(sourceVirtualsrc_, MidiProperty::UniqueID,
                                       kVirtualOutputUniqueID);
    services_.objectSetStringProperty(sourceVirtualsrc_, MidiProperty::Model, kModel);
    if (songOutput_) songOutput_->create(client_);
}

void MainMidi::setSongOutput(bool on) {
    if (on == bool(songOutput_)) return;
    if (on)
        songOutput_ = std::make_unique<SongOutput>(services_);
    else
        songOutput_.reset();
}

void MainMidi::disConnectFromMidiSourceWithUniqueID() {
    updateMidiDevicePopupSelection();
    MIDIObjectRef endpoint = 0;
    MIDIObjectType type;
    const Prefs* p = prefs();
    services_.objectFindByUniqueID(p ? p->prefsSelectedMidiDeviceUniqueID : 0, &endpoint, &type);
    services_.portDisconnectSource(inPort_, endpoint);
}

void MainMidi::connectToMidiDestinationWithUniqueID() {
    updateMidiDeviceForDestinationPopupSelection();
    MIDIObjectType type;
    const Prefs* p = prefs();
    services_.objectFindByUniqueID(p ? p->prefsSelectedMidiDeviceUniqueID : 0,
                                   &gigmoraDestinationEndpointFromUniqueID_, &type);
}

QString MainMidi::uniqueIDDevice() {
    const Prefs* p = prefs();
    const MIDIUniqueID id = p ? p->prefsSelectedMidiDeviceUniqueID : 0;
    MIDIObjectRef object = 0;
    MIDIObjectType type;
    services_.objectFindByUniqueID(id, &object, &type);
    QString name;
    if (object == 0 ||
        services_.objectGetStringProperty(object, MidiProperty::DisplayName, &name) != kMidiNoErr)
        return QStringLiteral("Selected Device");
    // The name goes through a 255-byte buffer: a longer one is cut at a character boundary.
    QByteArray utf8 = name.toUtf8();
    if (utf8.size() > 254) {
        utf8.truncate(254);
        while (!utf8.isEmpty() && (static_cast<uint8_t>(utf8.back()) & 0xC0) == 0x80)
            utf8.chop(1);
        if (!utf8.isEmpty() && (static_cast<uint8_t>(utf8.back()) & 0xC0) == 0xC0) utf8.chop(1);
    }
    return QString::fromUtf8(utf8);
}

int MainMidi::returnMidiDeviceForDestinationUsingUniqueID(MIDIUniqueID) const {
    return 101;
}

bool MainMidi::perform(std::string_view selector) {
    static const struct {
        const char* name;
        void (MainMidi::*op)();
    } kOperations[] = {
        {"createMidiPort", &MainMidi::createMidiPort},
        {"disconnectAllMidi", &MainMidi::disconnectAllMidi},
        {"connectToSpacebarMidiSourceWithUniqueID",
         &MainMidi::connectToSpacebarMidiSourceWithUniqueID},
        {"disConnectFromSpacebarMidiSourceWithUniqueID",
         &MainMidi::disConnectFromSpacebarMidiSourceWithUniqueID},
        {"connectToVirtualMidiSource", &MainMidi::connectToVirtualMidiSource},
        {"disConnectFromMidiSourceWithUniqueID", &MainMidi::disConnectFromMidiSourceWithUniqueID},
        {"connectToMidiDestinationWithUniqueID", &MainMidi::connectToMidiDestinationWithUniqueID},
        {"checkIfSelectedDeviceRemoved", &MainMidi::checkIfSelectedDeviceRemoved},
        {"populateNameCopyArray", &MainMidi::populateNameCopyArray},
        {"sendLogicClose", &MainMidi::sendLogicClose},
        {"sendLogicNextSong", &MainMidi::sendLogicNextSong},
    };
    for (const auto& o : kOperations)
        if (selector == o.name) {
            (this->*o.op)();
            return true;
        }
    endOperation(UnknownOperationError("-[MainMidi " + std::string(selector) +
                                       "]: unrecognized selector sent to instance"));
    return false;
}

void MainMidi::send(std::initializer_list<uint8_t> bytes) {
    MidiPacketList list;
    list.addPacket(0, bytes);
    services_.received(sourceVirtualsrc_, list);
}

// Control-surface button: zone and port, press (port + 0x40) and release, all on channel 1.
void MainMidi::sendButton(uint8_t zone, uint8_t port) {
    send({0xB0, 0x0F, zone, 0xB0, 0x2F, static_cast<uint8_t>(port + 0x40), 0xB0, 0x0F, zone, 0xB0,
          0x2F, port});
}

void MainMidi::sendOneZeroFour() {
    send({0xC0, 0x68});
}
void MainMidi::sendOneZeroFive() {
    send({0xC0, 0x69});
}
void MainMidi::sendOneZeroSix() {
    send({0xC0, 0x6A});
}
void MainMidi::sendOneZeroSeven() {
    send({0xC0, 0x6B});
}
void MainMidi::sendMidiStop() {
    sendButton(0x0E, 3);
}
void MainMidi::sendMidiPeriod() {
    sendButton(0x13, 5);
}
void MainMidi::sendMidiReturnToZero() {
    sendButton(0x0F, 0);
}
// The number keys sit on irregular ports; the DAW's control surface defines them so.
void MainMidi::sendMidiNumKey0() {
    sendButton(0x13, 0);
}
void MainMidi::sendMidiNumKey1() {
    sendButton(0x13, 1);
}
void MainMidi::sendMidiNumKey2() {
    sendButton(0x13, 3);
}
void MainMidi::sendMidiNumKey3() {
    sendButton(0x13, 6);
}
void MainMidi::sendMidiNumKey4() {
    sendButton(0x13, 2);
}
void MainMidi::sendMidiNumKey5() {
    sendButton(0x13, 4);
}
void MainMidi::sendMidiNumKey6() {
    sendButton(0x13, 7);
}
void MainMidi::sendMidiNumKey7() {
    sendButton(0x15, 0);
}
void MainMidi::sendMidiNumKey8() {
    sendButton(0x15, 1);
}
void MainMidi::sendMidiNumKey9() {
    sendButton(0x15, 2);
}
void MainMidi::sendLogicClose() {
    send({0xF0, 0x00, 0x22, 0x11, 0x01, 0xF7});
}
void MainMidi::sendLogicNextSong() {
    send({0xF0, 0x00, 0x22, 0x11, 0x02, 0xF7});
}

QTimer* MainMidi::scheduleOneShot(double seconds, void (MainMidi::*operation)()) {
    // A timer fires once; a newer one never cancels it. The engine keeps the newest of each
    // kind, so a fired timer goes away only once it has been replaced.
    auto* timer = new QTimer(this);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    timer->setInterval(std::chrono::milliseconds(std::llround(std::max(0.0, seconds) * 1000.0)));
    connect(timer, &QTimer::timeout, this, [this, timer, operation] {
        guarded("backup timer", [&] { (this->*operation)(); });
        if (timer != backupTimer_ && timer != backupTimer2_) timer->deleteLater();
    });
    timer->start();
    return timer;
}

void MainMidi::replaceTimer(QPointer<QTimer>& slot, QTimer* timer) {
    QTimer* old = slot;
    slot = timer;
    if (old && !old->isActive()) old->deleteLater();
}

void MainMidi::startBackupTimer() {
    MainQueue::async([self = QPointer<MainMidi>(this)] {
        if (!self) return;
        const Prefs* p = self->prefs();
        const double delay = p ? static_cast<double>(p->prefsBackupDelay) : 0.0;
        self->replaceTimer(self->backupTimer_,
                           self->scheduleOneShot(delay, &MainMidi::sendOneZeroFive));
    });
}

void MainMidi::startBackupTimer2() {
    MainQueue::async([self = QPointer<MainMidi>(this)] {
        if (!self) return;
        const Prefs* p = self->prefs();
        const float twice = p ? p->prefsBackupDelay + p->prefsBackupDelay : 0.0f;
        self->replaceTimer(self->backupTimer2_, self->scheduleOneShot(static_cast<double>(twice),
                                                                      &MainMidi::sendOneZeroSeven));
    });
}

void MainMidi::notifyProc(const MIDINotification* message, void* refCon) {
    if (!message) return;
    if (message->messageID == kMIDIMsgPropertyChanged ||
        message->messageID == kMIDIMsgObjectRemoved) {
        if (auto* engine = static_cast<MainMidi*>(refCon)) engine->checkIfSelectedDeviceRemoved();
    }
}
