#include "app/CheckCommand.h"

#include "app/UnixSignalWatcher.h"
#include "daw/LivePass.h"
#include "daw/SetlistCheck.h"
#include "library/FetchRequest.h"
#include "library/LibraryStack.h"
#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/PersistentStore.h"
#include "platform/Error.h"
#include "platform/Guard.h"
#include "settings/GigmoraConfig.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

namespace {
const char kCheckUsage[] = "usage: gigmora check [--setlist NAME] [--json] [--load]\n";
constexpr int kCheckUsageError = 64; // sysexits.h
constexpr int kProblems = 65;        // sysexits.h: the data is not right

constexpr int kInterrupted = 130; // 128 + SIGINT, as a shell says it

// Loads the songs one after the other in a DAW of the pass's own, saying which it loads; none
// when interrupted (Ctrl-C), after the DAW has been ended.
std::unique_ptr<LivePass> loadEach(const GigmoraConfig::Daw& daw,
                                   const SetlistCheck::Result& checked, QTextStream& err) {
    auto pass = std::make_unique<LivePass>(daw, checked);
    QEventLoop loop;
    bool interrupted = false;
    UnixSignalWatcher watcher;
    QObject::connect(&watcher, &UnixSignalWatcher::terminationRequested, &loop, [&] {
        guarded("check --load interrupted", [&] {
            interrupted = true;
            loop.quit();
        });
    });
    QObject::connect(pass.get(), &LivePass::finished, &loop, &QEventLoop::quit);
    QObject::connect(pass.get(), &LivePass::progress, &loop, [&](int done, int total) {
        guarded("LivePass::progress", [&] {
            if (done < total)
                err << "Loading " << pass->songs()[done].title << " (" << done + 1 << " of "
                    << total << ")…\n"
                    << Qt::flush;
        });
    });
    pass->start();
    if (!pass->isOver()) loop.exec(); // a DAW that cannot start ends the pass at once
    if (interrupted) return nullptr;
    return pass;
}
} // namespace

int CheckCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    bool json = false, load = false;
    QString only;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == QLatin1String("--json")) {
            json = true;
        } else if (arguments[i] == QLatin1String("--load")) {
            load = true;
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
    if (load && daw.control != GigmoraConfig::Daw::Control::SessionManager) {
        err << "gigmora check --load: the live pass loads DAW sessions through the session "
               "manager; choose it in Gigmora.conf ([daw] control=session-manager).\n";
        return kCheckUsageError;
    }
    const SetlistCheck checker(daw);
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
        const QString name = setlist->stringValue("name");
        if (!json) {
            out << name << "\n";
            for (const SetlistCheck::Row& row : result.rows)
                out << "  " << row.title << ": " << row.verdict() << "\n";
            out << "  " << result.total() << "\n" << Qt::flush;
        }
        const std::unique_ptr<LivePass> pass = load ? loadEach(daw, result, err) : nullptr;
        if (load && !pass) {
            err << "Interrupted; the check's DAW has been ended.\n";
            return kInterrupted;
        }
        if (pass) problems |= !pass->allLoaded();
        if (!json) {
            if (!pass) continue;
            out << name << ", loaded in " << SessionManager::nameOf(daw.program())
                << " one song after the other\n";
            for (qsizetype i = 0; i < qsizetype(result.rows.size()); ++i)
                out << "  " << result.rows[i].title << ": " << pass->verdict(i) << "\n";
            for (const QString& line : pass->summary())
                out << "  " << line << "\n";
            continue;
        }
        QJsonArray rows;
        for (qsizetype i = 0; i < qsizetype(result.rows.size()); ++i) {
            const SetlistCheck::Row& row = result.rows[i];
            const SessionCheck& c = row.check;
            QJsonObject song{{"title", row.title},
                             {"path", row.path},
                             {"passes", c.passes()},
                             {"seconds", c.seconds ? QJsonValue(*c.seconds) : QJsonValue()},
                             {"problems", QJsonArray::fromStringList(c.problems)}};
            if (pass) {
                const LivePass::Load& l = pass->loads()[i];
                song.insert("loadMs", l.ms >= 0 ? QJsonValue(l.ms) : QJsonValue());
                song.insert("loadProblem", l.problem);
            }
            rows.append(song);
        }
        QJsonObject list{{"name", name},
                         {"songs", rows},
                         {"seconds", result.seconds},
                         {"withoutLength", result.withoutLength}};
        if (pass) list.insert("load", QJsonArray::fromStringList(pass->summary()));
        lists.append(list);
    }
    if (json)
        out << QJsonDocument(
                   QJsonObject{{"jackSampleRate", rate ? QJsonValue(*rate) : QJsonValue()},
                               {"setlists", lists}})
                   .toJson(QJsonDocument::Indented);
    return problems ? kProblems : 0;
}
