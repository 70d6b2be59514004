#include "app/ExportCommand.h"

#include "app/RunningOrderDocument.h"
#include "daw/SessionCheck.h"
#include "daw/SongLengths.h"
#include "library/FetchRequest.h"
#include "library/LibraryFilter.h"
#include "library/LibraryStack.h"
#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/PersistentStore.h"
#include "platform/Error.h"
#include "settings/GigmoraConfig.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

namespace {
const char kUsage[] = "usage: gigmora export [--json | --pdf FILE] [--setlist NAME]\n";
// The exit statuses of sysexits.h: a wrong command line, and an output file not made.
constexpr int kUsageError = 64;
constexpr int kCannotCreate = 73;

struct Options {
    bool json = false;
    QString pdf; // null without --pdf
    bool wantSetlist = false;
    QString onlySetlist;
};

// What is wrong with the command line; empty when it says one thing to do.
QString parse(const QStringList& arguments, Options& o) {
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& a = arguments[i];
        if (a == QLatin1String("--json")) {
            o.json = true;
        } else if (a == QLatin1String("--pdf") || a.startsWith(QLatin1String("--pdf="))) {
            const bool next = a.size() == 5 && i + 1 < arguments.size() &&
                              !arguments[i + 1].startsWith(QLatin1String("--"));
            o.pdf = next ? arguments[++i] : a.mid(6);
            if (o.pdf.isEmpty()) return QStringLiteral("--pdf needs the file to write");
        } else if (a == QLatin1String("--setlist") && i + 1 < arguments.size()) {
            o.wantSetlist = true;
            o.onlySetlist = arguments[++i];
        } else if (a.startsWith(QLatin1String("--setlist="))) {
            o.wantSetlist = true;
            o.onlySetlist = a.mid(10);
        } else {
            return QStringLiteral("unknown argument \"%1\"").arg(a);
        }
    }
    if (o.json && !o.pdf.isNull()) return QStringLiteral("--json and --pdf do not go together");
    return {};
}

int writePdf(const QString& path, const QList<ManagedObject*>& setlists, bool sessions,
             QTextStream& err) {
    if (setlists.isEmpty()) {
        err << "The library has no setlist to print.\n";
        return 2;
    }
    QString whyNot;
    if (RunningOrderDocument(setlists, sessions).saveAsPdf(path, &whyNot)) return 0;
    err << "Could not write \"" << path << "\": " << whyNot << "\n";
    return kCannotCreate;
}

QJsonValue jsonValue(const QVariant& v) {
    if (!v.isValid() || v.isNull()) return QJsonValue::Null;
    return QJsonValue::fromVariant(v);
}

// `sessions`: the DAW control's projects are sessions, which say how long a song plays.
QJsonObject songJson(const ManagedObject* s, bool sessions) {
    const std::optional<double> seconds = SessionCheck::lengthOf(s->stringValue("path"), sessions);
    return {{"number", jsonValue(s->value("midiIn"))},
            {"title", jsonValue(s->value("title"))},
            {"path", jsonValue(s->value("path"))},
            {"seconds", seconds ? QJsonValue(*seconds) : QJsonValue()}};
}

QString dateText(const QVariant& v) {
    return v.isValid() ? v.toDateTime().toLocalTime().toString(Qt::ISODate) : QString();
}

QJsonObject setlistJson(const ManagedObject* setlist, bool sessions) {
    QJsonArray songs;
    double total = 0;
    int unknown = 0;
    for (auto* s : setlist->orderedObjects("song")) {
        songs.append(songJson(s, sessions));
        const QJsonValue seconds = songs.last()["seconds"];
        seconds.isDouble() ? void(total += seconds.toDouble()) : void(++unknown);
    }
    return {
        {"seconds", total},
        {"withoutLength", unknown},
        {"name", jsonValue(setlist->value("name"))},
        {"dateCreated",
         setlist->value("dateCreated").isValid()
             ? QJsonValue(setlist->value("dateCreated").toDateTime().toString(Qt::ISODateWithMs))
             : QJsonValue(QJsonValue::Null)},
        {"songs", songs}};
}

void printSetlist(QTextStream& out, const ManagedObject* setlist, bool sessions) {
    out << "Setlist: " << setlist->stringValue("name") << "  ("
        << dateText(setlist->value("dateCreated")) << ")\n";
    int position = 0, unknown = 0;
    double total = 0;
    for (auto* s : setlist->orderedObjects("song")) {
        const std::optional<double> seconds =
            SessionCheck::lengthOf(s->stringValue("path"), sessions);
        seconds ? void(total += *seconds) : void(++unknown);
        out << QStringLiteral("%1. ").arg(++position, 3) << s->stringValue("title") << "  ["
            << RunningOrderDocument::songNumber(s) << "]  " << s->stringValue("path")
            << (seconds ? "  " + SessionCheck::length(*seconds) : QString()) << "\n";
    }
    out << "     " << SongLengths::total(total, unknown) << "\n\n";
}
} // namespace

int ExportCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    Options o;
    if (const QString wrong = parse(arguments, o); !wrong.isEmpty()) {
        err << "gigmora export: " << wrong << "\n" << kUsage;
        return kUsageError;
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
    if (o.wantSetlist) {
        setlists.removeIf(
            [&](ManagedObject* s) { return s->stringValue("name") != o.onlySetlist; });
        if (setlists.isEmpty()) {
            err << "No setlist named \"" << o.onlySetlist << "\".\n";
            return 2;
        }
    }
    const bool sessions =
        GigmoraConfig::daw().control == GigmoraConfig::Daw::Control::SessionManager;
    if (!o.pdf.isNull()) return writePdf(o.pdf, setlists, sessions, err);
    const auto songs = LibraryFilter::removeDuplicatesInArray(
        context.executeFetchRequest({"Song", {}, LibraryStack::allSongsSortDescriptor(), 0}));

    if (o.json) {
        QJsonObject root;
        if (!o.wantSetlist) {
            QJsonArray list;
            for (auto* s : songs)
                list.append(songJson(s, sessions));
            root.insert("songs", list);
        }
        QJsonArray lists;
        for (auto* s : setlists)
            lists.append(setlistJson(s, sessions));
        root.insert("setlists", lists);
        out << QJsonDocument(root).toJson(QJsonDocument::Indented);
        return 0;
    }
    if (!o.wantSetlist) {
        out << "Songs (" << songs.size() << ")\n";
        for (auto* s : songs)
            out << QStringLiteral("%1  ").arg(RunningOrderDocument::songNumber(s), 5)
                << s->stringValue("title") << "  " << s->stringValue("path") << "\n";
        out << "\n";
    }
    for (auto* s : setlists)
        printSetlist(out, s, sessions);
    return 0;
}
