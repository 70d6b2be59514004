#include "library/XmlStoreWriter.h"

#include "library/EntityDescription.h"
#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/PersistentStore.h"
#include "platform/ReferenceDate.h"

#include <QBuffer>
#include <QDateTime>
#include <charconv>

namespace {

bool isXmlChar(char32_t c) {
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) ||
           (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

// Characters XML 1.0 cannot carry at all become U+FFFD, so the file always reads back.
void appendEscaped(QByteArray& out, const QString& text) {
    bool plain = true, ascii = true;
    for (QChar c : text) {
        const char16_t u = c.unicode();
        if ((u < 0x20 && u != 0x9 && u != 0xA) || u == '&' || u == '<' || u == '>' || u == '"' ||
            c.isSurrogate() || u >= 0xFFFE) {
            plain = false;
            break;
        }
        ascii = ascii && u < 0x80;
    }
    if (plain && ascii) {
        const qsizetype at = out.size();
        out.resize(at + text.size());
        char* dst = out.data() + at;
        for (QChar c : text)
            *dst++ = static_cast<char>(c.unicode());
        return;
    }
    if (plain) {
        out += text.toUtf8();
        return;
    }
    QString clean;
    clean.reserve(text.size());
    for (char32_t c : text.toUcs4()) {
        if (!isXmlChar(c)) c = 0xFFFD;
        switch (c) {
        case '&':
            clean += u"&amp;";
            break;
        case '<':
            clean += u"&lt;";
            break;
        case '>':
            clean += u"&gt;";
            break;
        case '"':
            clean += u"&quot;";
            break;
        case '\r':
            clean += u"&#13;";
            break;
        default:
            clean += QString::fromUcs4(&c, 1);
        }
    }
    out += clean.toUtf8();
}

const char* typeName(AttributeType t) {
    switch (t) {
    case AttributeType::Integer16:
        return "int16";
    case AttributeType::Integer32:
        return "int32";
    case AttributeType::Integer64:
        return "int64";
    case AttributeType::Boolean:
        return "bool";
    case AttributeType::Float:
        return "float";
    case AttributeType::Double:
        return "double";
    case AttributeType::String:
        return "string";
    case AttributeType::Date:
        return "date";
    }
    return "string";
}

void appendNumber(QByteArray& out, long long v);

void appendValue(QByteArray& out, const QVariant& v, AttributeType t) {
    switch (t) {
    case AttributeType::String:
        if (v.typeId() == QMetaType::QString)
            appendEscaped(out, *static_cast<const QString*>(v.constData()));
        else
            appendEscaped(out, v.toString());
        break;
    case AttributeType::Date:
        out += QByteArray::number(referenceDate().msecsTo(v.toDateTime()) / 1000.0, 'f', 3);
        break;
    case AttributeType::Boolean:
        out +=
            (v.typeId() == QMetaType::Bool ? *static_cast<const bool*>(v.constData()) : v.toBool())
                ? '1'
                : '0';
        break;
    case AttributeType::Float:
    case AttributeType::Double:
        out += QByteArray::number(v.toDouble(), 'g', 17);
        break;
    default:
        // Stored integers are always qlonglong; skip the generic conversion on the hot path.
        appendNumber(out, v.typeId() == QMetaType::LongLong
                              ? *static_cast<const qlonglong*>(v.constData())
                              : v.toLongLong());
    }
}
} // namespace

namespace {
void appendNumber(QByteArray& out, long long v) {
    char buf[24];
    auto r = std::to_chars(buf, buf + sizeof buf, v);
    out.append(buf, r.ptr - buf);
}

// The fixed parts of each entity's elements, rendered once per save.
struct EntityTemplate {
    QByteArray objectOpen;                 // `    <object type="SONG" id="z`
    std::vector<QByteArray> attributeOpen; // `        <attribute name="title" type="string">`
    std::vector<QByteArray> relationOpen;  // `        <relationship name=... destination="X"`
};

EntityTemplate makeTemplate(const EntityDescription& e) {
    EntityTemplate t;
    t.objectOpen = "    <object type=\"" + e.name().toUpper().toUtf8() + "\" id=\"z";
    for (const auto& a : e.attributes())
        t.attributeOpen.push_back("        <attribute name=\"" + a.name.toLower().toUtf8() +
                                  "\" type=\"" + typeName(a.type) + "\">");
    for (const auto& r : e.relationships())
        t.relationOpen.push_back("        <relationship name=\"" + r.name.toLower().toUtf8() +
                                 "\" type=\"" + (r.toMany ? "0/0" : "1/1") + "\" destination=\"" +
                                 r.destination.toUpper().toUtf8() + "\"");
    return t;
}

// One record's element, whole; kept by the record until it changes.
void renderObject(QByteArray& out, const ManagedObject& o, const EntityTemplate& t,
                  const std::vector<AttributeDescription>& attrs,
                  const std::vector<RelationshipDescription>& rels) {
    out += t.objectOpen;
    appendNumber(out, static_cast<long long>(o.objectNumber()));
    out += "\">\n";
    for (size_t i = 0; i < attrs.size(); ++i) {
        const QVariant& v = o.attributeAt(static_cast<int>(i));
        if (!v.isValid()) continue;
        out += t.attributeOpen[i];
        appendValue(out, v, attrs[i].type);
        out += "</attribute>\n";
    }
    for (size_t r = 0; r < rels.size(); ++r) {
        out += t.relationOpen[r];
        bool first = true;
        auto addRef = [&](const ManagedObject* target) {
            if (!target || target->isDeleted()) return;
            out += first ? " idrefs=\"z" : " z";
            first = false;
            appendNumber(out, static_cast<long long>(target->objectNumber()));
        };
        if (rels[r].toMany)
            for (const ManagedObject* target : o.toManyAt(static_cast<int>(r)))
                addRef(target);
        else
            addRef(o.toOneAt(static_cast<int>(r)));
        out += first ? "></relationship>\n" : "\"></relationship>\n";
    }
    out += "    </object>\n";
}
} // namespace

QByteArray XmlStoreWriter::write(const ObjectContext& context, const PersistentStore& store) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    write(context, store, buffer);
    return buffer.data();
}

bool XmlStoreWriter::write(const ObjectContext& context, const PersistentStore& store,
                           QIODevice& sink) {
    // Rendered in chunks: a large library never needs a second copy of itself in memory.
    constexpr qsizetype kChunk = 1 << 20;
    QByteArray out;
    out.reserve(kChunk + 64 * 1024);
    bool ok = true;
    auto flush = [&] {
        ok = ok && sink.write(out) == out.size();
        out.resize(0);
    };
    out += "<?xml version=\"1.0\" standalone=\"yes\"?>\n"
           "<!DOCTYPE database SYSTEM \"file:///System/Library/DTDs/CoreData.dtd\">\n\n"
           "<database>\n    <databaseInfo>\n        <version>134481920</version>\n"
           "        <UUID>";
    appendEscaped(out, store.uuid());
    out += "</UUID>\n        <nextObjectID>";
    appendNumber(out, static_cast<long long>(store.lastObjectNumber()));
    out += "</nextObjectID>\n        <metadata></metadata>\n    </databaseInfo>\n";
    QByteArray scratch;
    for (const auto& entity : context.model().entities()) {
        const EntityTemplate t = makeTemplate(*entity);
        const auto& attrs = entity->attributes();
        const auto& rels = entity->relationships();
        for (const ManagedObject* o : context.registeredObjects(entity.get())) {
            QByteArray& cached = o->storeRendering();
            if (cached.isEmpty()) {
                // Rendered aside and kept at its exact size: the cache is a second library.
                scratch.resize(0);
                renderObject(scratch, *o, t, attrs, rels);
                cached = QByteArray(scratch.constData(), scratch.size());
            }
            out += cached;
            if (out.size() >= kChunk) flush();
        }
    }
    out += "</database>\n";
    flush();
    return ok;
}
