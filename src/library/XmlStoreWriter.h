#pragma once

#include <QByteArray>

class ObjectContext;
class QIODevice;
class PersistentStore;

// Renders the whole graph of a context in the XML store dialect.
class XmlStoreWriter {
public:
    static QByteArray write(const ObjectContext& context, const PersistentStore& store);
    // False when the sink refused bytes.
    static bool write(const ObjectContext& context, const PersistentStore& store, QIODevice& sink);
};
