#include "midi/SongMessages.h"

#include "library/ManagedObject.h"

namespace {
// A stored message as bytes; empty, with `why` said, when it is not valid MIDI.
std::vector<uint8_t> encode(qint64 kind, qint64 channel, qint64 number, qint64 value,
                            QString* why) {
    if (kind != SongMessages::kProgramChange && kind != SongMessages::kControlChange) {
        *why = QStringLiteral("kind %1 is neither a program nor a control change").arg(kind);
        return {};
    }
    // Channels are shown 1 to 16; a new message's 0 stands for 1.
    if (channel < 0 || channel > 16) {
        *why = QStringLiteral("channel %1 is not 1 to 16").arg(channel);
        return {};
    }
    const auto dataByte = [&](qint64 byte, const char* what) {
        if (byte >= 0 && byte <= 127) return true;
        *why = QStringLiteral("%1 %2 is not 0 to 127").arg(QLatin1String(what)).arg(byte);
        return false;
    };
    const uint8_t status = uint8_t((kind == SongMessages::kProgramChange ? 0xC0 : 0xB0) |
                                   (channel == 0 ? 0 : channel - 1));
    if (kind == SongMessages::kProgramChange)
        return dataByte(number, "program") ? std::vector<uint8_t>{status, uint8_t(number)}
                                           : std::vector<uint8_t>{};
    if (!dataByte(number, "controller") || !dataByte(value, "value")) return {};
    return {status, uint8_t(number), uint8_t(value)};
}
} // namespace

std::vector<SongMessages::Message> SongMessages::of(const ManagedObject& song,
                                                    QStringList* skipped) {
    std::vector<Message> out;
    QString why;
    if (song.value("midiOutEnabled").toBool()) {
        auto bytes =
            encode(song.integerValue("midiOutMessageType"), song.integerValue("midiOutChannel"),
                   song.integerValue("progOrCcNumber"), song.integerValue("ccValue"), &why);
        if (bytes.empty())
            *skipped << QStringLiteral("its own message: ") + why;
        else
            out.push_back({std::move(bytes), std::nullopt});
    }
    int position = 0;
    for (const ManagedObject* m : song.orderedObjects("midiMessage")) {
        ++position;
        auto bytes =
            encode(m->integerValue("mMmessageType"), m->integerValue("mMchannel"),
                   m->integerValue("mMprogOrCcNumber"), m->integerValue("mMccValue"), &why);
        if (bytes.empty()) {
            *skipped << QStringLiteral("message %1: ").arg(position) + why;
            continue;
        }
        Message message{std::move(bytes), std::nullopt};
        const QVariant index = m->value("mMinterface");
        if (index.isValid() && index.toLongLong() >= 0 && index.toLongLong() <= kLastInterfaceIndex)
            message.device = MIDIUniqueID(m->integerValue("mMinterfaceUniqueID"));
        out.push_back(std::move(message));
    }
    return out;
}
