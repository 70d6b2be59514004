#include "library/TransferRecords.h"

#include "library/ManagedObject.h"
#include "library/MidiMessage.h"
#include "library/ObjectContext.h"
#include "library/Setlist.h"
#include "library/Song.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"

#include <QUrl>

void TransferRecords::registerClasses(KeyedUnarchiver& coder, const ManagedObjectModel& model) {
    coder.registerClass("Song", [](KeyedUnarchiver& c) { return Song::initWithCoder(c); });
    coder.registerClass("Setlist",
                        [&model](KeyedUnarchiver& c) { return Setlist::initWithCoder(c, model); });
    coder.registerClass("MidiMessage",
                        [](KeyedUnarchiver& c) { return MidiMessage::initWithCoder(c); });
}

QByteArray TransferRecords::rowIndexesPayload(const IndexSet& rows) {
    return KeyedArchiver::archivedDataWithRootObject(QVariant::fromValue(rows));
}

IndexSet TransferRecords::rowIndexesFromPayload(const QByteArray& payload) {
    return KeyedUnarchiver::unarchiveObjectWithData(payload).value<IndexSet>();
}

QByteArray TransferRecords::songURIsPayload(const QList<ManagedObject*>& songs,
                                            const ObjectContext& context) {
    QVariantList uris;
    for (auto* s : songs)
        uris.append(context.URIRepresentation(s));
    return KeyedArchiver::archivedDataWithRootObject(uris);
}

QList<ManagedObject*> TransferRecords::songsFromPayload(const QByteArray& payload,
                                                        const ObjectContext& context) {
    QList<ManagedObject*> out;
    for (const auto& v : KeyedUnarchiver::unarchiveObjectWithData(payload).toList())
        if (auto* o = context.objectWithURI(v.toUrl())) out.append(o);
    return out;
}
