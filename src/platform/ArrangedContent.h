#pragma once

#include "platform/IndexSet.h"

#include <QObject>
#include <QString>
#include <QVariant>

// What a table binds to: a list of rows with values by key and a selection.
class ArrangedContent : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    virtual qsizetype arrangedCount() = 0;
    virtual QVariant arrangedValue(qsizetype row, const QString& key) = 0;
    virtual void setArrangedValue(qsizetype row, const QString& key, const QVariant& value) = 0;
    virtual IndexSet selectionIndexes() = 0;
    virtual bool setSelectionIndexes(const IndexSet& indexes) = 0;

signals:
    void arrangedObjectsChanged();
    void selectionChanged();
};

struct BindingInfo {
    QObject* observedObject = nullptr;
    QString observedKeyPath;
};
