#pragma once

#include "library/Predicate.h"
#include "library/SortDescriptor.h"
#include "platform/ArrangedContent.h"

#include <QPointer>

class ManagedObject;
class ObjectContext;

// The rows of a table: either every record of an entity, or the ordered relationship of
// another controller's selected record. Sorted, filtered, with a selection that follows its
// objects, never empty while there are rows, and that moves to objects added through it.
class ArrayController : public ArrangedContent {
    Q_OBJECT
public:
    explicit ArrayController(QObject* parent = nullptr);

    void setManagedObjectContext(ObjectContext* context);
    ObjectContext* managedObjectContext() const;
    void setEntityName(const QString& name);
    const QString& entityName() const { return entityName_; }
    // Content from `source`'s first selected record's to-many `key` ("selection.<key>").
    void bindContentArray(ArrayController* source, const QString& key);
    BindingInfo infoForBinding(const QString& binding) const;

    void setSortDescriptors(const QList<SortDescriptor>& descriptors);
    const QList<SortDescriptor>& sortDescriptors() const { return sortDescriptors_; }
    void setFilterPredicate(const Predicate& predicate);
    const Predicate& filterPredicate() const { return filter_; }

    const QList<ManagedObject*>& arrangedObjects();
    QList<ManagedObject*> selectedObjects();
    qsizetype selectionIndex(); // -1 without a selection
    bool setSelectionIndex(qsizetype index);
    // The record whose relationship is the content, in relationship mode.
    ManagedObject* contentOwner() const;

    void fetch();
    void rearrangeObjects();
    // A new record, inserted into the context (and the relationship) and selected.
    ManagedObject* add();
    void addObject(ManagedObject* object);
    // Entity content: deletes the record. Relationship content: takes it out of the
    // relationship only.
    void removeObject(ManagedObject* object);
    // Out of range, the caller's operation ends (logged) and this gives false.
    bool removeObjectAtArrangedObjectIndex(qsizetype index);

    qsizetype arrangedCount() override;
    QVariant arrangedValue(qsizetype row, const QString& key) override;
    void setArrangedValue(qsizetype row, const QString& key, const QVariant& value) override;
    IndexSet selectionIndexes() override;
    bool setSelectionIndexes(const IndexSet& indexes) override;
    quint64 selectionGeneration() const { return selectionGeneration_; }

private:
    quint64 currentStamp() const;
    void refreshIfStale();
    void rebuild();
    void contextChanged();
    QList<ManagedObject*> content() const;
    void selectObjects(const QList<ManagedObject*>& objects);

    QPointer<ObjectContext> context_;
    QString entityName_;
    QPointer<ArrayController> source_;
    QString sourceKey_;
    QList<SortDescriptor> sortDescriptors_;
    Predicate filter_;
    QList<ManagedObject*> arranged_;
    // The content sorted, kept while neither it nor the library changes: a new search
    // filters this instead of sorting again (a stable sort commutes with a filter).
    QList<ManagedObject*> sortedFrom_, sorted_;
    quint64 sortedGeneration_ = ~quint64(0);
    QList<ManagedObject*> selected_;
    quint64 stamp_ = ~quint64(0);
    quint64 announced_ = ~quint64(0); // the stamp the views were last told of
    quint64 selectionGeneration_ = 0;
};
