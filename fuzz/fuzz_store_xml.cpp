#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/PersistentStore.h"
#include "library/XmlStoreWriter.h"
#include "platform/Error.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>

// The library store as another program, an older version or a damaged disk may leave it. A
// file either opens or is refused with a reason; one that opens loads whole, and what it then
// saves opens again and saves the same bytes: Gigmora never writes what it cannot read back.
namespace {
QString pathOf(const char* name) {
    static QTemporaryDir folder; // removed at exit
    return folder.filePath(QString::fromLatin1(name));
}

void put(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) || f.write(bytes) != bytes.size())
        std::abort();
}

[[noreturn]] void fail(const char* what, const QByteArray& detail) {
    std::fprintf(stderr, "%s\n%s\n", what, detail.constData());
    std::abort();
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    static int argc = 1;
    static char name[] = "fuzz_store_xml";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const ManagedObjectModel& model = ManagedObjectModel::gigmoraTwo();
    const QString in = pathOf("in.storedata");
    put(in, QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    Error error;
    auto store = PersistentStore::open(model, in, &error);
    if (!store) {
        if (error.localizedFailureReason.isEmpty()) fail("refused without a reason", {});
        return 0;
    }
    QByteArray first;
    {
        ObjectContext context(model, store.get());
        first = XmlStoreWriter::write(context, *store);
    }
    const QString out = pathOf("out.storedata");
    put(out, first);
    auto again = PersistentStore::open(model, out, &error);
    if (!again) fail("a store that opened saved what cannot be read back:", first);
    ObjectContext context(model, again.get());
    if (XmlStoreWriter::write(context, *again) != first)
        fail("a saved store changes when it is opened and saved again:", first);
    QCoreApplication::sendPostedEvents();
    return 0;
}
