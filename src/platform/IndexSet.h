#pragma once

#include <QList>
#include <QMetaType>
#include <vector>

// A sorted set of row indexes, as dragged rows travel on the pasteboard.
class IndexSet {
public:
    IndexSet() = default;
    IndexSet(std::initializer_list<qsizetype> indexes);
    // Any order, duplicates allowed: sorted once instead of inserted one by one.
    static IndexSet fromIndexes(std::vector<qsizetype> indexes);
    void add(qsizetype index);
    bool contains(qsizetype index) const;
    qsizetype count() const { return indexes_.size(); }
    bool isEmpty() const { return indexes_.isEmpty(); }
    qsizetype first() const { return indexes_.isEmpty() ? -1 : indexes_.first(); }
    qsizetype last() const { return indexes_.isEmpty() ? -1 : indexes_.last(); }
    const QList<qsizetype>& indexes() const { return indexes_; }
    bool operator==(const IndexSet&) const = default;

private:
    QList<qsizetype> indexes_;
};
Q_DECLARE_METATYPE(IndexSet)
