#include "midi/SongOutput.h"

#include "library/ManagedObject.h"
#include "midi/MainMidi.h"
#include "midi/MidiLog.h"
#include "midi/MidiPacketList.h"
#include "midi/MidiServices.h"
#include "midi/SongMessages.h"

void SongOutput::create(MIDIClientRef client) {
    source_ = 0;
    if (services_.sourceCreate(client, kName, &source_) != kMidiNoErr) {
        qCWarning(lcMidi).noquote() << "Could not make" << kName;
        source_ = 0;
        return;
    }
    services_.objectSetIntegerProperty(source_, MidiProperty::UniqueID, kUniqueID);
    services_.objectSetStringProperty(source_, MidiProperty::Model, MainMidi::kModel);
}

int SongOutput::send(const ManagedObject& song) {
    const QString title = song.stringValue("title");
    QStringList skipped;
    const auto messages = SongMessages::of(song, &skipped);
    for (const QString& why : skipped)
        qCWarning(lcMidi).noquote() << "Not sent for" << title + ":" << why;
    int sent = 0;
    for (const auto& message : messages) {
        if (message.device) {
            // Only the device chosen may get it; none can be addressed on its own here.
            if (!named_.contains(*message.device)) {
                named_.insert(*message.device);
                qCWarning(lcMidi).noquote()
                    << "The device chosen for a message of" << title << "(unique ID"
                    << QString::number(*message.device) + ") cannot be reached; its messages "
                                                          "are not sent";
            }
            continue;
        }
        if (!source_) continue;
        MidiPacketList list;
        list.addPacket(0, message.bytes.data(), uint16_t(message.bytes.size()));
        if (services_.received(source_, list) == kMidiNoErr) ++sent;
    }
    qCInfo(lcMidi).noquote() << "Sent" << sent << "MIDI message(s) for" << title;
    return sent;
}
