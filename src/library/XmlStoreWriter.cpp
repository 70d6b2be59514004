#include "library/XmlStoreWriter.h"

#include "library/EntityDescription.h"
#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/PersistentStore.h"

#include <QDateTime>

namespace {
const QDateTime kReferenceDate = QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);

bool isXmlChar(char32_t c) {
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) ||
           (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

// Characters XML 1.0 cannot carry at all become U+FFFD, so the file always reads back.
void appendEscaped(QByteArray& out, const QString& text) {
    bool plain = true;
    for (QChar c : text) {
        const char16_t u = c.unicode();
        if ((u < 0x20 && u != 0x9 && u != 0xA) || u == '&' || u == '<' || u == '>' || u == '"' ||
            c.isSurrogate() || u >= 0xFFFE) {
            plain = false;
            break;
        }
    }
    if (plain) {
        out += text.toUtf8();
        return;
    }
    QString clean;
    clean.reserve(text.size());
    for (char32_t c : text.toUcs4()) {
        if (!isXmlChar(c))
            c = 0xFFFD;
        switch (c) {
        case '&': clean += u"&amp;"; break;
        case '<': clean += u"&lt;"; break;
        case '>': clean += u"&gt;"; break;
        case '"': clean += u"&quot;"; break;
        case '\r': clean += u"&#13;"; break;
        default: clean += QString::fromUcs4(&c, 1);
        }
    }
    out += clean.toUtf8();
}

const char* typeName(AttributeType t) {
    switch (t) {
    case AttributeType::Integer16: return "int16";
    case AttributeType::Integer32: return "int32";
    case AttributeType::Integer64: return "int64";
    case AttributeType::Boolean: return "bool";
    case AttributeType::Float: return "float";
    case AttributeType::Double: return "double";
    case AttributeType::String: return "string";
    case AttributeType::Date: return "date";
    }
    return "string";
}

void appendValue(QByteArray& out, const QVariant& v, AttributeType t) {
    switch (t) {
    case AttributeType::String:
        appendEscaped(out, v.toString());
        break;
    case AttributeType::Date:
        out += QByteArray::number(kReferenceDate.msecsTo(v.toDateTime()) / 1000.0, 'f', 3);
        break;
    case AttributeType::Boolean:
        out += v.toBool() ? '1' : '0';
        break;
    case AttributeType::Float:
    case AttributeType::Double:
        out += QByteArray::number(v.toDouble(), 'g', 17);
        break;
    default:
        out += QByteArray::number(v.toLongLong());
    }
}
} // namespace

QByteArray XmlStoreWriter::write(const ObjectContext& context, const PersistentStore& store) {
    QByteArray out;
    out.reserve(1 << 20);
    out += "<?xml version=\"1.0\" standalone=\"yes\"?>\n"
           "<!DOCTYPE database SYSTEM \"file:///System/Library/DTDs/CoreData.dtd\">\n\n"
           "<database>\n    <databaseInfo>\n        <version>134481920</version>\n"
           "        <UUID>";
    appendEscaped(out, store.uuid());
    out += "</UUID>\n        <nextObjectID>";
    out += QByteArray::number(store.lastObjectNumber());
    out += "</nextObjectID>\n        <metadata></metadata>\n    </databaseInfo>\n";
    for (const auto& entity : context.model().entities()) {
        const QByteArray upper = entity->name().toUpper().toUtf8();
        const auto& attrs = entity->attributes();
        const auto& rels = entity->relationships();
        for (const ManagedObject* o : context.registeredObjects(entity.get())) {
            out += "    <object type=\"" + upper + "\" id=\"z" +
                   QByteArray::number(o->objectNumber()) + "\">\n";
            for (size_t i = 0; i < attrs.size(); ++i) {
                const QVariant& v = o->attributeAt(static_cast<int>(i));
                if (!v.isValid() || v.isNull())
                    continue;
                out += "        <attribute name=\"" + attrs[i].name.toLower().toUtf8() +
                       "\" type=\"" + typeName(attrs[i].type) + "\">";
                appendValue(out, v, attrs[i].type);
                out += "</attribute>\n";
            }
            for (size_t r = 0; r < rels.size(); ++r) {
                out += "        <relationship name=\"" + rels[r].name.toLower().toUtf8() +
                       "\" type=\"" + (rels[r].toMany ? "0/0" : "1/1") + "\" destination=\"" +
                       rels[r].destination.toUpper().toUtf8() + "\"";
                QByteArray refs;
                auto addRef = [&](const ManagedObject* t) {
                    if (!t || t->isDeleted())
                        return;
                    if (!refs.isEmpty())
                        refs += ' ';
                    refs += 'z' + QByteArray::number(t->objectNumber());
                };
                if (rels[r].toMany)
                    for (const ManagedObject* t : o->toManyAt(static_cast<int>(r)))
                        addRef(t);
                else
                    addRef(o->toOneAt(static_cast<int>(r)));
                if (!refs.isEmpty())
                    out += " idrefs=\"" + refs + "\"";
                out += "></relationship>\n";
            }
            out += "    </object>\n";
        }
    }
    out += "</database>\n";
    return out;
}
