#pragma once

#include <QList>
#include <QVariant>

class ManagedObject;
class ObjectContext;

// A project is its path: every Song record with that path (the song list's own and its copies
// in setlists) is one project. The one place that asks the library for them.
class ProjectRecords {
public:
    // The records of the project at `path`; an absent path gives the songs that have none.
    // `highestNumberFirst` sorts by number, descending; `limit` 0 means all.
    static QList<ManagedObject*> of(ObjectContext& context, const QVariant& path,
                                    qsizetype limit = 0, bool highestNumberFirst = false);
};
