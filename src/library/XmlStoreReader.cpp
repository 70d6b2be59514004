#include "library/XmlStoreReader.h"

#include "library/EntityDescription.h"
#include "library/ManagedObjectModel.h"
#include "library/PersistentStore.h"
#include "library/StoredObject.h"
#include "platform/Error.h"
#include "platform/ReferenceDate.h"

#include <QDateTime>
#include <QFileInfo>
#include <QSet>
#include <QXmlStreamReader>
#include <cmath>
#include <limits>

namespace {

struct Failure {
    QString reason;
};

// Numbers are written as signed 64-bit: anything larger cannot have come from a store.
constexpr quint64 kMaxObjectNumber = quint64(std::numeric_limits<qint64>::max());
// New objects are numbered on from the highest number read. A store numbered near the end of
// the range could not go on, so it is numbered afresh, 1 upwards, when it is read: numbers
// only name objects inside one store, and half the range is more than a library ever uses.
constexpr quint64 kRenumberAbove = kMaxObjectNumber / 2;

void renumber(std::vector<StoredObject>& objects, quint64& lastNumber) {
    QHash<quint64, quint64> fresh;
    fresh.reserve(qsizetype(objects.size()));
    for (auto& o : objects) {
        const quint64 next = quint64(fresh.size()) + 1;
        fresh.insert(o.number, next);
        o.number = next;
    }
    for (auto& o : objects)
        for (auto& [rel, refs] : o.relationships)
            for (quint64& r : refs)
                r = fresh.value(r);
    lastNumber = quint64(objects.size());
}

bool parseObjectId(QStringView id, quint64* out) {
    if (id.size() < 2 || id[0] != u'z') return false;
    bool ok = false;
    *out = id.mid(1).toULongLong(&ok);
    return ok && *out > 0 && *out <= kMaxObjectNumber;
}

QVariant parseValue(QStringView type, const QString& text, AttributeType declared) {
    bool ok = false;
    if (type == u"string")
        return declared == AttributeType::String ? QVariant(text) : throw Failure{"type mismatch"};
    if (type == u"date") {
        const double secs = text.trimmed().toDouble(&ok);
        if (!ok || declared != AttributeType::Date || !(std::fabs(secs) < 1e12))
            throw Failure{QStringLiteral("bad date \"%1\"").arg(text)};
        return referenceDate().addMSecs(static_cast<qint64>(std::llround(secs * 1000.0)));
    }
    const bool numeric = type == u"int16" || type == u"int32" || type == u"int64" ||
                         type == u"bool" || type == u"float" || type == u"double" ||
                         type == u"decimal";
    if (!numeric || declared == AttributeType::String || declared == AttributeType::Date)
        throw Failure{QStringLiteral("unknown attribute type \"%1\"").arg(type)};
    const QString t = text.trimmed();
    if (declared == AttributeType::Boolean) {
        if (t == u"YES" || t == u"true") return true;
        if (t == u"NO" || t == u"false") return false;
        const double v = t.toDouble(&ok);
        if (!ok) throw Failure{QStringLiteral("bad number \"%1\"").arg(text)};
        return v != 0;
    }
    if (declared == AttributeType::Float || declared == AttributeType::Double) {
        const double v = t.toDouble(&ok);
        if (!ok) throw Failure{QStringLiteral("bad number \"%1\"").arg(text)};
        return v;
    }
    qint64 v = t.toLongLong(&ok);
    if (!ok) {
        const double d = t.toDouble(&ok);
        if (!ok || !(std::fabs(d) < 9e18))
            throw Failure{QStringLiteral("bad number \"%1\"").arg(text)};
        v = static_cast<qint64>(d);
    }
    return v;
}

class Reader {
public:
    Reader(const QByteArray& bytes, const ManagedObjectModel& model) : xml_(bytes), model_(model) {
        xml_.setNamespaceProcessing(false);
        xml_.setEntityExpansionLimit(1024);
    }

    void run(std::vector<StoredObject>& objects, QString& uuid, quint64& lastNumber) {
        if (!nextElement() || xml_.name() != u"database")
            fail("the document is not a store (no <database> element)");
        while (nextChild()) {
            if (xml_.name() == u"databaseInfo")
                databaseInfo(uuid, lastNumber);
            else if (xml_.name() == u"object")
                objects.push_back(object());
            else
                skip();
        }
        while (!xml_.atEnd()) {
            xml_.readNext();
            if (xml_.isStartElement() || xml_.isEntityReference())
                fail("content after </database>");
        }
        check();
        QHash<quint64, const EntityDescription*> ids;
        for (const auto& o : objects) {
            if (ids.contains(o.number))
                fail(QStringLiteral("the id z%1 is used twice").arg(o.number));
            ids.insert(o.number, o.entity);
            lastNumber = std::max(lastNumber, o.number);
        }
        for (const auto& o : objects)
            for (const auto& [rel, refs] : o.relationships) {
                const RelationshipDescription& d = o.entity->relationships()[rel];
                for (quint64 r : refs) {
                    const EntityDescription* target = ids.value(r);
                    if (!target)
                        fail(QStringLiteral("z%1 refers to the missing object z%2")
                                 .arg(o.number)
                                 .arg(r));
                    if (target->name() != d.destination)
                        fail(QStringLiteral("z%1's %2 refers to z%3, which is a %4, not a %5")
                                 .arg(o.number)
                                 .arg(d.name)
                                 .arg(r)
                                 .arg(target->name(), d.destination));
                }
            }
        if (uuid.isEmpty()) fail("the store has no UUID");
        if (lastNumber > kRenumberAbove) renumber(objects, lastNumber);
    }

private:
    [[noreturn]] void fail(const QString& reason) { throw Failure{reason}; }
    void check() {
        if (xml_.hasError())
            fail(QStringLiteral("line %1, column %2: %3")
                     .arg(xml_.lineNumber())
                     .arg(xml_.columnNumber())
                     .arg(xml_.errorString()));
    }
    // Next start element at any depth before the document ends.
    bool nextElement() {
        while (!xml_.atEnd()) {
            xml_.readNext();
            if (xml_.isEntityReference()) fail("an entity reference that cannot be resolved");
            if (xml_.isStartElement()) return true;
        }
        check();
        return false;
    }
    // Next child element of the current element; false at its end.
    bool nextChild() {
        while (!xml_.atEnd()) {
            xml_.readNext();
            if (xml_.isEntityReference()) fail("an entity reference that cannot be resolved");
            if (xml_.isStartElement()) return true;
            if (xml_.isEndElement()) return false;
            if (xml_.isCharacters() && !xml_.isWhitespace())
                fail(QStringLiteral("unexpected text at line %1").arg(xml_.lineNumber()));
        }
        check();
        fail("the document ends too early");
    }
    void skip() {
        xml_.skipCurrentElement();
        check();
    }
    QString text() {
        QString t = xml_.readElementText(QXmlStreamReader::ErrorOnUnexpectedElement);
        check();
        return t;
    }
    void databaseInfo(QString& uuid, quint64& lastNumber) {
        while (nextChild()) {
            if (xml_.name() == u"UUID") {
                uuid = text().trimmed();
            } else if (xml_.name() == u"nextObjectID") {
                bool ok = false;
                lastNumber = text().trimmed().toULongLong(&ok);
                if (!ok || lastNumber > kMaxObjectNumber) fail("bad nextObjectID");
            } else {
                skip();
            }
        }
    }
    StoredObject object() {
        StoredObject o;
        const auto attrs = xml_.attributes();
        o.entity = model_.entityIgnoringCase(attrs.value("type"));
        if (!o.entity) fail(QStringLiteral("unknown entity \"%1\"").arg(attrs.value("type")));
        if (!parseObjectId(attrs.value("id"), &o.number))
            fail(QStringLiteral("bad object id \"%1\"").arg(attrs.value("id")));
        while (nextChild()) {
            if (xml_.name() == u"attribute")
                attribute(o);
            else if (xml_.name() == u"relationship")
                relationship(o);
            else
                skip();
        }
        return o;
    }
    void attribute(StoredObject& o) {
        const auto attrs = xml_.attributes();
        const int index = o.entity->attributeIndexIgnoringCase(attrs.value("name"));
        if (index < 0)
            fail(QStringLiteral("%1 has no attribute \"%2\"")
                     .arg(o.entity->name(), attrs.value("name")));
        const QString type = attrs.value("type").toString();
        const QString value = text();
        o.attributes.emplace_back(index,
                                  parseValue(type, value, o.entity->attributes()[index].type));
    }
    void relationship(StoredObject& o) {
        const auto attrs = xml_.attributes();
        const int index = o.entity->relationshipIndexIgnoringCase(attrs.value("name"));
        if (index < 0)
            fail(QStringLiteral("%1 has no relationship \"%2\"")
                     .arg(o.entity->name(), attrs.value("name")));
        std::vector<quint64> refs;
        for (auto part : attrs.value("idrefs").split(u' ', Qt::SkipEmptyParts)) {
            quint64 n = 0;
            if (!parseObjectId(part, &n)) fail(QStringLiteral("bad idref \"%1\"").arg(part));
            refs.push_back(n);
        }
        if (!o.entity->relationships()[index].toMany && refs.size() > 1)
            fail(QStringLiteral("a to-one relationship with %1 targets").arg(refs.size()));
        text(); // must be empty of elements
        o.relationships.emplace_back(index, std::move(refs));
    }

    QXmlStreamReader xml_;
    const ManagedObjectModel& model_;
};
} // namespace

bool XmlStoreReader::read(const QByteArray& bytes, PersistentStore& store, Error* error) {
    try {
        Reader reader(bytes, store.model_);
        reader.run(store.loaded_, store.uuid_, store.lastObjectNumber_);
        return true;
    } catch (const Failure& f) {
        store.loaded_.clear();
        if (error)
            *error = Error{"NSCocoaErrorDomain", 259,
                           QStringLiteral("The file \"%1\" couldn't be opened because it isn't in "
                                          "the correct format.")
                               .arg(QFileInfo(store.path_).fileName()),
                           f.reason, nullptr};
        return false;
    }
}
