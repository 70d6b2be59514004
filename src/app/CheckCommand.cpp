#include "app/CheckCommand.h"

#include "daw/SetlistCheck.h"
#include "library/FetchRequest.h"
#include "library/LibraryStack.h"
#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/PersistentStore.h"
#include "platform/Error.h"
#include "settings/GigmoraConfig.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

namespace {
const char kCheckUsage[] = "usage: gigmora check [--setlist NAME] [--json]\n";
constexpr int kCheckUsageError = 64; // sysexits.h
constexpr int kProblems = 65;        // sysexits.h: the data is not right
} // namespace

int CheckCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    bool json = false;
    QString only;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == QLatin1String("--json")) {
            json = true;
        } else if (arguments[i] == QLatin1String("--setlist") && i + 1 < arguments.size()) {
            only = arguments[++i];
        } else {
            err << "gigmora check: unknown argument \"" << arguments[i] << "\"\n" << kCheckUsage;
            return kCheckUsageError;
        }
    }
    Error error;
    auto store = LibraryStack::openReadOnly(&error);
    if (!store) {
        err << error.localizedDescription << ": " << error.localizedFailureReason << "\n";
        if (error.underlying) err << error.underlying->localizedFailureReason << "\n";
        return 1;
    }
    ObjectContext context(ManagedObjectModel::gigmoraTwo(), store.get());
    auto setlists =
        context.executeFetchRequest({"Setlist", {}, LibraryStack::allSetlistsSortDescriptor(), 0});
    if (!only.isNull()) {
        setlists.removeIf([&](ManagedObject* s) { return s->stringValue("name") != only; });
        if (setlists.isEmpty()) {
            err << "No setlist named \"" << only << "\".\n";
            return 2;
        }
    }
    const GigmoraConfig::Daw daw = GigmoraConfig::daw();
    const SetlistCheck checker(daw.control == GigmoraConfig::Daw::Control::SessionManager,
                               daw.standby);
    const std::optional<int> rate = checker.system().sampleRate;
    bool problems = false;
    QJsonArray lists;
    if (!json) {
        out << "System\n";
        for (const QString& line : checker.system().lines)
            out << "  " << line << "\n";
    }
    for (ManagedObject* setlist : setlists) {
        QList<SetlistCheck::Song> songs;
        for (ManagedObject* song : setlist->orderedObjects("song"))
            songs.append({song->stringValue("title"), song->stringValue("path")});
        const SetlistCheck::Result result = checker.check(songs);
        problems |= !result.passes();
        if (!json) {
            out << setlist->stringValue("name") << "\n";
            for (const SetlistCheck::Row& row : result.rows)
                out << "  " << row.title << ": " << row.verdict() << "\n";
            out << "  " << result.total() << "\n";
            continue;
        }
        QJsonArray rows;
        for (const SetlistCheck::Row& row : result.rows) {
            const SessionCheck& c = row.check;
            rows.append(QJsonObject{{"title", row.title},
                                    {"path", row.path},
                                    {"passes", c.passes()},
                                    {"seconds", c.seconds ? QJsonValue(*c.seconds) : QJsonValue()},
                                    {"problems", QJsonArray::fromStringList(c.problems)}});
        }
        lists.append(QJsonObject{{"name", setlist->stringValue("name")},
                                 {"songs", rows},
                                 {"seconds", result.seconds},
                                 {"withoutLength", result.withoutLength}});
    }
    if (json)
        out << QJsonDocument(
                   QJsonObject{{"jackSampleRate", rate ? QJsonValue(*rate) : QJsonValue()},
                               {"setlists", lists}})
                   .toJson(QJsonDocument::Indented);
    return problems ? kProblems : 0;
}
