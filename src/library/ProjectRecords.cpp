#include "library/ProjectRecords.h"

#include "library/FetchRequest.h"
#include "library/ObjectContext.h"

QList<ManagedObject*> ProjectRecords::of(ObjectContext& context, const QVariant& path,
                                         qsizetype limit, bool highestNumberFirst) {
    // Without an argument the format compares with nil, as the songs without a path need.
    const QVariantList args = path.isValid() ? QVariantList{path} : QVariantList{};
    FetchRequest request{"Song", Predicate::withFormat("path == %@", args), {}, limit};
    if (highestNumberFirst) request.sortDescriptors = {{"midiIn", false}};
    return context.executeFetchRequest(request);
}
