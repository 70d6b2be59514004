#pragma once

#include <QByteArray>

class PersistentStore;
struct Error;

// Parses the XML store dialect into a store's loaded objects; rejects anything it does not
// understand rather than guess, and never fetches a DTD or expands entities without bound.
class XmlStoreReader {
public:
    static bool read(const QByteArray& bytes, PersistentStore& store, Error* error);
};
