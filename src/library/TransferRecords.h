#pragma once

#include "platform/IndexSet.h"

#include <QByteArray>
#include <QList>
#include <QString>

class KeyedUnarchiver;
class ManagedObject;
class ManagedObjectModel;
class ObjectContext;

// The forms in which records leave the store during drag and drop.
class TransferRecords {
public:
    static inline const QString setlistTableViewType =
        QStringLiteral("com.vantori.setlistTableView");
    static inline const QString allsongTableViewType =
        QStringLiteral("com.vantori.allsongTableView");

    // Lets an unarchiver rebuild Song, Setlist and MidiMessage records.
    static void registerClasses(KeyedUnarchiver& coder, const ManagedObjectModel& libraryModel);

    // Rows dragged inside one table, under the entity-name type.
    static QByteArray rowIndexesPayload(const IndexSet& rows);
    static IndexSet rowIndexesFromPayload(const QByteArray& payload);

    // Songs dragged out of the song list: the URI forms of their object ids, in drag order.
    static QByteArray songURIsPayload(const QList<ManagedObject*>& songs,
                                      const ObjectContext& context);
    // Unresolvable URIs are skipped.
    static QList<ManagedObject*> songsFromPayload(const QByteArray& payload,
                                                  const ObjectContext& context);
};
