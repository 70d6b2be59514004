#include "library/Song.h"

#include "library/ManagedObjectModel.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"

namespace {
const char* const kNumberKeys[] = {"ccValue", "midiIn", "midiOutChannel", "midiOutEnabled",
                                   "midiOutMessageType"};
}

void Song::encodeWithCoder(KeyedArchiver& coder) const {
    for (const char* key : kNumberKeys)
        coder.encodeObject(value(key), key);
    coder.encodeObject(value("path"), "path");
    coder.encodeObject(value("progOrCcNumber"), "progOrCcNumber");
    coder.encodeObject(value("title"), "title");
    encodeOrderedRelation(coder, "midiMessage");
    coder.encodeObject(relatedObject("setlist"), "setlist");
}

std::unique_ptr<Song> Song::initWithCoder(KeyedUnarchiver& coder) {
    auto song = std::make_unique<Song>(ManagedObjectModel::gigmoraTwo().entity(u"Song"), nullptr);
    for (const char* key : kNumberKeys)
        song->setValue(key, coder.decodeObject(key));
    song->setValue("path", coder.decodeObject("path"));
    song->setValue("progOrCcNumber", coder.decodeObject("progOrCcNumber"));
    song->setValue("title", coder.decodeObject("title"));
    // Detached: the related records are kept as decoded, without inverse bookkeeping.
    QVariantList messages;
    for (const auto& m : coder.decodeObject("midiMessage").toList())
        if (auto* k = m.value<KeyedCoding*>())
            if (auto* o = dynamic_cast<ManagedObject*>(k)) messages.append(QVariant::fromValue(o));
    song->setValue("midiMessage", messages);
    auto* setlist =
        dynamic_cast<ManagedObject*>(coder.decodeObject("setlist").value<KeyedCoding*>());
    song->setValue("setlist", setlist ? QVariant::fromValue(setlist) : QVariant());
    return song;
}
