#include "daw/CompanionPrograms.h"

#include "daw/DawLog.h"
#include "daw/SessionManager.h"
#include "library/NsmSongFolder.h"
#include "library/ProgramProfile.h"
#include "platform/Guard.h"
#include "settings/GigmoraConfig.h"

#include <QDir>
#include <QFileInfo>

CompanionPrograms::CompanionPrograms(Options options, QObject* parent)
    : QObject(parent), options_(std::move(options)) {}

CompanionPrograms::~CompanionPrograms() {
    shutdown(0);
}

QString CompanionPrograms::clientIdFor(const QString& clientId, const QString& program) {
    const QString base = clientId.endsWith(QLatin1String(" DAW")) ? clientId.chopped(4) : clientId;
    return base + ' ' + program;
}

QString CompanionPrograms::twinOf(const QString& program, const QString& fromDaw,
                                  const QString& toDaw) {
    const QString from = clientIdFor(fromDaw, {});
    return program.startsWith(from) ? clientIdFor(toDaw, program.mid(from.size())) : QString();
}

QString CompanionPrograms::nameFor(const QString& executable, const QStringList& command) const {
    // Named after the program, unless the list's executable is another name for it (a second
    // synth, "zynb", started as ZynAddSubFX): then after that name, so that each has its own.
    const QString name = ProgramProfile::of(command).name;
    return QFileInfo(executable).fileName().toLower().startsWith(name.toLower())
               ? name
               : ProgramProfile::of({executable}).name;
}

QString CompanionPrograms::runtimeFolderOf(const QString& runtimeFolder, const QString& clientId) {
    return runtimeFolder.isEmpty() ? QString() : runtimeFolder + '/' + clientId + " programs";
}

void CompanionPrograms::endRecorded(const QString& folder, const QStringList& except,
                                    QObject* owner) {
    if (folder.isEmpty()) return;
    for (const QFileInfo& record : QDir(folder).entryInfoList({"*.json"}, QDir::Files))
        if (!except.contains(record.completeBaseName()))
            SessionManager::endRecordedDaw(record.filePath(), record.completeBaseName(), owner);
}

SessionManager& CompanionPrograms::programFor(const QString& executable) {
    auto& slot = programs_[executable];
    if (slot) return *slot;
    SessionManager::Options o;
    o.program = GigmoraConfig::programCommand(executable);
    const QString name = nameFor(executable, o.program);
    o.clientId = clientIdFor(options_.clientId, name);
    o.name = name + options_.nameSuffix;
    o.runtimeFolder = runtimeFolderOf(options_.runtimeFolder, options_.clientId);
    o.environment = options_.environment;
    o.loadTimeoutMs = options_.loadTimeoutMs;
    o.heard = options_.heard;
    o.standby = options_.standby;
    o.songs = ProgramProfile::of(o.program).songs;
    // Started, or back from a death, it takes its part of the song the stage is on.
    o.stageSong = [this, executable, kind = o.songs] {
        const auto it = data_.find(executable);
        return it == data_.end() ? QString() : kind.sessionPath(it->second);
    };
    slot = std::make_unique<SessionManager>(std::move(o));
    SessionManager* program = slot.get();
    connect(program, &SessionManager::loaded, this,
            [this] { guarded("CompanionPrograms::loaded", [this] { settle(); }); });
    // Its load counts when it is said and written down (a Gigmora started after a crash takes
    // it over by that record); a program that fails counts at once, as holding up nothing.
    connect(program, &SessionManager::stateChanged, this, [this, program] {
        guarded("CompanionPrograms::state", [this, program] {
            const DawStatus::Phase phase = program->status().phase;
            if (phase == DawStatus::Phase::Failed || phase == DawStatus::Phase::Stopped)
                settle();
            else
                emit stateChanged();
        });
    });
    // One that gave up on its part (a question, no answer) comes back without it and holds up
    // nothing; a late word on an earlier song's part is not this song's.
    connect(program, &SessionManager::cannotLoad, this,
            [this, executable, program](const QString& path, const QString& reason) {
                guarded("CompanionPrograms::cannotLoad", [&] {
                    const auto it = data_.find(executable);
                    if (it == data_.end() || program->songsKind().sessionPath(it->second) != path)
                        return;
                    gaveUp_.insert(executable);
                    emit cannotLoad(song_, program->dawName() + ": " + reason);
                    settle();
                });
            });
    return *slot;
}

void CompanionPrograms::open(const QString& song) {
    song_ = song;
    data_.clear();
    gaveUp_.clear(); // asked again: another try
    twice_.clear();
    const QList<NsmSongFolder::Program> listed = NsmSongFolder::programs(song);
    // Garbage, an empty list or only executables given as paths: the DAW plays its placeholder,
    // which would pass for the song on stage.
    namesNone_ = listed.isEmpty() && NsmSongFolder::isSongFolder(song);
    const NsmSongFolder::Program* own = NsmSongFolder::find(listed, options_.ownExecutable);
    ownData_ = own ? NsmSongFolder::dataPath(song, *own) : QString();
    for (const NsmSongFolder::Program& p : listed) {
        if (NsmSongFolder::find({p}, options_.ownExecutable)) continue;
        // One process a program: a second part for it is said, not loaded.
        if (data_.count(p.executable)) {
            twice_ << p.name + '.' + p.id;
            continue;
        }
        data_[p.executable] = NsmSongFolder::dataPath(song, p);
    }
    // Ended first: the programs the song does without free what they hold before others load.
    for (auto it = programs_.begin(); it != programs_.end();) {
        if (data_.count(it->first)) {
            ++it;
            continue;
        }
        qCInfo(lcDaw).noquote() << it->second->dawName() << "is not in"
                                << QFileInfo(song).fileName() + "; it is ended.";
        // Without waiting: the stage goes on while it ends.
        SessionManager* leaving = it->second.release();
        leaving->setParent(this);
        leaving->disconnect(this);
        connect(leaving, &SessionManager::ended, leaving, &QObject::deleteLater);
        leaving->end(SessionManager::kEndGraceMs);
        it = programs_.erase(it);
    }
    if (!std::exchange(swept_, true)) {
        QStringList listed;
        for (const auto& [executable, data] : data_)
            listed << clientIdFor(options_.clientId,
                                  nameFor(executable, GigmoraConfig::programCommand(executable)));
        endRecorded(runtimeFolderOf(options_.runtimeFolder, options_.clientId), listed, this);
    }
    for (const auto& [executable, data] : data_) {
        const bool started = programs_.count(executable) > 0;
        SessionManager& program = programFor(executable);
        const QString part = program.songsKind().sessionPath(data);
        // Started with its part, it keeps the one it plays if an earlier Gigmora left it
        // running: never the same song twice. A part that is not there is said as such.
        if (!started && program.songsKind().sessionExists(part)) program.start();
        if (program.loadedPath() != part && program.pendingPath() != part) program.open(part);
    }
    emit stateChanged();
}

bool CompanionPrograms::lacks(const QString& executable) const {
    const SessionManager& program = *programs_.at(executable);
    return program.loadedPath() != program.songsKind().sessionPath(data_.at(executable));
}

bool CompanionPrograms::waiting(const QString& song) const {
    if (song != song_) return false;
    // One that cannot start, or keeps dying, is said on stage but holds up no song.
    for (const auto& [executable, program] : programs_)
        if (lacks(executable) && !gaveUp_.count(executable) &&
            program->status().phase != DawStatus::Phase::Failed &&
            program->status().phase != DawStatus::Phase::Stopped)
            return true;
    return false;
}

QString CompanionPrograms::text() const {
    QStringList busy;
    for (const auto& [executable, program] : programs_)
        if (lacks(executable)) busy << program->stateText();
    if (namesNone_)
        busy << QStringLiteral("%1: its session.nsm names no program to start")
                    .arg(QFileInfo(song_).fileName());
    if (!twice_.isEmpty())
        busy << QStringLiteral("%1: not loaded, its program has a part of this song already")
                    .arg(twice_.join(QStringLiteral(", ")));
    return busy.join(QStringLiteral(" · "));
}

QString CompanionPrograms::ownData(const QString& song) const {
    // The song in front of the programs was read once, when it was opened.
    if (song == song_) return ownData_;
    const QList<NsmSongFolder::Program> programs = NsmSongFolder::programs(song);
    const NsmSongFolder::Program* own = NsmSongFolder::find(programs, options_.ownExecutable);
    return own ? NsmSongFolder::dataPath(song, *own) : QString();
}

QStringList CompanionPrograms::clientIds() const {
    QStringList ids;
    for (const auto& [executable, program] : programs_)
        ids << program->clientId();
    return ids;
}

qint64 CompanionPrograms::processOf(const QString& executable) const {
    const auto it = programs_.find(executable);
    return it == programs_.end() ? 0 : it->second->dawProcessId();
}

void CompanionPrograms::settle() {
    emit stateChanged();
    if (!song_.isEmpty() && !waiting(song_)) emit loaded(song_);
}

void CompanionPrograms::end(int graceMs) {
    for (auto& [executable, program] : programs_)
        program->end(graceMs);
}

void CompanionPrograms::shutdown(int graceMs) {
    end(graceMs); // all asked at once: the waits overlap
    for (auto& [executable, program] : programs_)
        program->shutdown(graceMs);
    programs_.clear();
}
