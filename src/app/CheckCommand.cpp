#include "app/CheckCommand.h"

#include "daw/PluginCatalog.h"
#include "daw/SessionCheck.h"
#include "daw/SystemCheck.h"
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

QString songsWord(int n) {
    return n == 1 ? QStringLiteral("1 song") : QStringLiteral("%1 songs").arg(n);
}
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
    const bool sessions = daw.control == GigmoraConfig::Daw::Control::SessionManager;
    const SystemCheck system = SystemCheck::now();
    const std::optional<int> rate = system.sampleRate;
    const PluginCatalog plugins;
    const SessionCheck::Conditions conditions{sessions, rate, system.ports, daw.standby, &plugins};
    bool problems = false;
    QJsonArray lists;
    if (!json) {
        out << "System\n";
        for (const QString& line : system.lines)
            out << "  " << line << "\n";
    }
    for (ManagedObject* setlist : setlists) {
        if (!json) out << setlist->stringValue("name") << "\n";
        double total = 0;
        int unknown = 0;
        QJsonArray songs;
        for (ManagedObject* song : setlist->orderedObjects("song")) {
            const SessionCheck c = SessionCheck::of(song->stringValue("path"), conditions);
            problems |= !c.passes();
            c.seconds ? void(total += *c.seconds) : void(++unknown);
            const QString title = song->stringValue("title");
            if (json) {
                songs.append(
                    QJsonObject{{"title", title},
                                {"path", song->stringValue("path")},
                                {"passes", c.passes()},
                                {"seconds", c.seconds ? QJsonValue(*c.seconds) : QJsonValue()},
                                {"problems", QJsonArray::fromStringList(c.problems)}});
            } else if (c.passes()) {
                out << "  " << title << ": passes, "
                    << (c.seconds ? SessionCheck::length(*c.seconds)
                                  : QStringLiteral("length unknown"))
                    << "\n";
            } else {
                out << "  " << title << ": " << c.problems.join(' ') << "\n";
            }
        }
        if (json) {
            lists.append(QJsonObject{{"name", setlist->stringValue("name")},
                                     {"songs", songs},
                                     {"seconds", total},
                                     {"withoutLength", unknown}});
        } else {
            out << "  In all: " << SessionCheck::length(total);
            if (unknown > 0) out << "; " << songsWord(unknown) << " without a known length";
            out << "\n";
        }
    }
    if (json)
        out << QJsonDocument(
                   QJsonObject{{"jackSampleRate", rate ? QJsonValue(*rate) : QJsonValue()},
                               {"setlists", lists}})
                   .toJson(QJsonDocument::Indented);
    return problems ? kProblems : 0;
}
