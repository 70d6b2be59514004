#include "app/ExportCommand.h"

#include "library/FetchRequest.h"
#include "library/LibraryFilter.h"
#include "library/LibraryStack.h"
#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/PersistentStore.h"
#include "platform/Error.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

namespace {
const char kUsage[] = "usage: gigmora export [--json] [--setlist NAME]\n";

QJsonValue jsonValue(const QVariant& v) {
    if (!v.isValid() || v.isNull()) return QJsonValue::Null;
    return QJsonValue::fromVariant(v);
}

QJsonObject songJson(const ManagedObject* s) {
    return {{"number", jsonValue(s->value("midiIn"))},
            {"title", jsonValue(s->value("title"))},
            {"path", jsonValue(s->value("path"))}};
}

QString dateText(const QVariant& v) {
    return v.isValid() ? v.toDateTime().toLocalTime().toString(Qt::ISODate) : QString();
}

QString numberText(const QVariant& v) {
    return v.isValid() ? v.toString() : QStringLiteral("-");
}

QJsonObject setlistJson(const ManagedObject* setlist) {
    QJsonArray songs;
    for (auto* s : setlist->orderedObjects("song"))
        songs.append(songJson(s));
    return {
        {"name", jsonValue(setlist->value("name"))},
        {"dateCreated",
         setlist->value("dateCreated").isValid()
             ? QJsonValue(setlist->value("dateCreated").toDateTime().toString(Qt::ISODateWithMs))
             : QJsonValue(QJsonValue::Null)},
        {"songs", songs}};
}

void printSetlist(QTextStream& out, const ManagedObject* setlist) {
    out << "Setlist: " << setlist->stringValue("name") << "  ("
        << dateText(setlist->value("dateCreated")) << ")\n";
    int position = 0;
    for (auto* s : setlist->orderedObjects("song"))
        out << QStringLiteral("%1. ").arg(++position, 3) << s->stringValue("title") << "  ["
            << numberText(s->value("midiIn")) << "]  " << s->stringValue("path") << "\n";
    out << "\n";
}
} // namespace

int ExportCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    bool json = false;
    QString onlySetlist;
    bool wantSetlist = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& a = arguments[i];
        if (a == QLatin1String("--json")) {
            json = true;
        } else if (a == QLatin1String("--setlist") && i + 1 < arguments.size()) {
            wantSetlist = true;
            onlySetlist = arguments[++i];
        } else if (a.startsWith(QLatin1String("--setlist="))) {
            wantSetlist = true;
            onlySetlist = a.mid(10);
        } else {
            err << kUsage;
            return 64;
        }
    }

    Error error;
    auto store = LibraryStack::openReadOnly(&error);
    if (!store) {
        err << error.localizedDescription << ": " << error.localizedFailureReason << "\n";
        if (error.underlying)
            err << error.underlying->localizedDescription << " ("
                << error.underlying->localizedFailureReason << ")\n";
        return 1;
    }
    ObjectContext context(ManagedObjectModel::gigmoraTwo(), store.get());
    auto setlists =
        context.executeFetchRequest({"Setlist", {}, LibraryStack::allSetlistsSortDescriptor(), 0});
    if (wantSetlist) {
        setlists.removeIf([&](ManagedObject* s) { return s->stringValue("name") != onlySetlist; });
        if (setlists.isEmpty()) {
            err << "No setlist named \"" << onlySetlist << "\".\n";
            return 2;
        }
    }
    const auto songs = LibraryFilter::removeDuplicatesInArray(
        context.executeFetchRequest({"Song", {}, LibraryStack::allSongsSortDescriptor(), 0}));

    if (json) {
        QJsonObject root;
        if (!wantSetlist) {
            QJsonArray list;
            for (auto* s : songs)
                list.append(songJson(s));
            root.insert("songs", list);
        }
        QJsonArray lists;
        for (auto* s : setlists)
            lists.append(setlistJson(s));
        root.insert("setlists", lists);
        out << QJsonDocument(root).toJson(QJsonDocument::Indented);
        return 0;
    }
    if (!wantSetlist) {
        out << "Songs (" << songs.size() << ")\n";
        for (auto* s : songs)
            out << QStringLiteral("%1  ").arg(numberText(s->value("midiIn")), 5)
                << s->stringValue("title") << "  " << s->stringValue("path") << "\n";
        out << "\n";
    }
    for (auto* s : setlists)
        printSetlist(out, s);
    return 0;
}
