#include "daw/SessionManager.h"

#include "daw/CompanionPrograms.h"
#include "daw/DawLog.h"
#include "daw/DawRecord.h"
#include "library/NsmSongFolder.h"
#include "library/ProgramProfile.h"
#include "platform/Guard.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <signal.h>

namespace {
SessionPlan::Settings planSettings(const SessionManager::Options& o, const QString& name) {
    const ProgramProfile program = ProgramProfile::of(o.program);
    return {name,
            program.name,
            o.placeholder,
            o.saveBeforeSwitch,
            o.loadTimeoutMs,
            !o.program.isEmpty(),
            program.reportsFailures};
}
} // namespace

SessionManager::SessionManager(Options options, QObject* parent)
    : QObject(parent), options_(std::move(options)),
      plan_(planSettings(options_,
                         options_.name.isEmpty() ? nameOf(options_.program) : options_.name)) {
    clock_.start();
    timeout_.setSingleShot(true);
    timeout_.setInterval(options_.loadTimeoutMs);
    connect(&timeout_, &QTimer::timeout, this, [this] {
        guarded("SessionManager::timedOut", [this] { run(plan_.timedOut(now())); });
    });
    dialogPoll_.setInterval(kDialogPollMs);
    connect(&dialogPoll_, &QTimer::timeout, this,
            [this] { guarded("SessionManager::lookForDialogs", [this] { lookForDialogs(); }); });
    liveness_.setInterval(kLivenessMs);
    connect(&liveness_, &QTimer::timeout, this,
            [this] { guarded("SessionManager::checkClient", [this] { checkClient(); }); });
    connect(&nsm_, &NsmServer::announced, this, [this] {
        guarded("SessionManager::announced", [this] {
            absent_ = 0;
            liveness_.start();
            run(plan_.announced(nsm_.canSwitch(), stageSong(),
                                options_.standby && options_.standby(), now()));
        });
    });
    connect(&nsm_, &NsmServer::replied, this, [this](const QString& path, const QString&) {
        guarded("SessionManager::replied", [&] { run(plan_.replied(path, now())); });
    });
    connect(&nsm_, &NsmServer::failed, this,
            [this](const QString& path, int code, const QString& m) {
                guarded("SessionManager::failed", [&] { run(plan_.failed(path, code, m, now())); });
            });
}

void SessionManager::run(const SessionPlan::Commands& commands) {
    using Kind = SessionPlan::Command::Kind;
    for (const SessionPlan::Command& c : commands) {
        switch (c.kind) {
        case Kind::Launch:
            startProcess();
            break;
        case Kind::Restart:
            restart();
            break;
        case Kind::Kill:
            kill();
            break;
        case Kind::SendOpen:
            others(c.path);
            said(nsm_.open(ownPart(c.path), SessionPlan::songName(c.path), options_.clientId));
            break;
        case Kind::SendSave:
            said(nsm_.save());
            break;
        case Kind::StartTimeout:
            timeout_.start();
            break;
        case Kind::StopTimeout:
            timeout_.stop();
            break;
        case Kind::WriteRecord:
            writeRecord();
            break;
        case Kind::Loaded:
            if (othersLoading(c.path)) {
                held_ = {c.path, now() - c.ms};
                break;
            }
            emit loaded(c.path, c.ms);
            break;
        case Kind::SongInDaw:
            emit songInDaw(c.path);
            break;
        case Kind::Adopted:
            emit adopted(c.path);
            break;
        case Kind::CannotLoad:
            emit cannotLoad(c.path, c.text);
            break;
        case Kind::Status:
            emit stateChanged(stateText());
            break;
        }
    }
}

void SessionManager::said(const Result<>& sent) const {
    // The load timer gives the load up if the DAW never heard it.
    if (!sent)
        qCWarning(lcDaw).noquote() << "Could not ask" << dawName() + ":" << sent.failure().words;
}

QString SessionManager::stageSong() const {
    const QString song = options_.stageSong ? options_.stageSong() : QString();
    if (song.isEmpty() || partThere(song)) return song;
    qCWarning(lcDaw).noquote() << "No session folder at" << song << "; the placeholder is opened.";
    return {};
}

SessionManager::~SessionManager() {
    shutdown(0);
}

QString SessionManager::dawName() const {
    return options_.name.isEmpty() ? nameOf(options_.program) : options_.name;
}

QString SessionManager::nameOf(const QStringList& command) {
    return ProgramProfile::of(command).name;
}

QString SessionManager::recordFileIn(const QString& runtimeFolder, const QString& clientId) {
    return runtimeFolder + "/" + clientId + ".json";
}

QString SessionManager::recordFile() const {
    return options_.runtimeFolder.isEmpty()
               ? QString()
               : recordFileIn(options_.runtimeFolder, options_.clientId);
}

QString SessionManager::outputFile() const {
    // Beside the record when there is one: the next Gigmora reads on where this one stopped.
    return options_.runtimeFolder.isEmpty()
               ? QString()
               : options_.runtimeFolder + "/" + options_.clientId + ".log";
}

qint64 SessionManager::dawProcessId() const {
    return process_ ? process_->pid() : 0;
}

void SessionManager::writeRecord() {
    if (recordFile().isEmpty() || !process_ || !process_->running()) return;
    DawRecord r;
    r.pid = process_->pid();
    r.startTime = process_->startTime();
    r.serverPort = nsm_.port();
    if (nsm_.hasClient()) {
        r.clientAddress = nsm_.clientAddress().toString();
        r.clientPort = nsm_.clientPort();
        r.clientName = nsm_.clientName();
        r.capabilities = nsm_.capabilities();
    }
    r.loaded = plan_.loaded();
    r.program = options_.program.join(' ');
    r.heard = !options_.heard || options_.heard();
    (void)r.write(recordFile()); // said in the log; the DAW plays on regardless
}

void SessionManager::start() {
    run(plan_.start(now()));
}

void SessionManager::startProcess() {
    if (process_ || leftover_) return; // one left running is ended first: it starts after
    if (takeOverRecorded()) return;
    if (!nsm_.listen()) return run(plan_.notStarted(DawStatus::Reason::CannotListen));
    launch();
}

bool SessionManager::takeOverRecorded() {
    if (recordFile().isEmpty()) return false;
    const Result<DawRecord> record = DawRecord::read(recordFile());
    if (!record) return false;
    if (DawProcess::startTimeOf(record->pid) != record->startTime) {
        DawRecord::remove(recordFile()); // it ended with the Gigmora that started it
        return false;
    }
    // Still playing: the same DAW, announced, and the session manager's port to be had again
    // (where it sends its replies), and it carries on under this Gigmora.
    if (record->announced() && record->program == options_.program.join(' ') &&
        nsm_.listen(record->serverPort)) {
        auto* taken = new DawProcess(dawName(), this);
        if (taken->adopt(record->pid, record->startTime, outputFile())) {
            process_ = taken;
            watch(taken);
            dialogPoll_.start();
            nsm_.adoptClient(QHostAddress(record->clientAddress), record->clientPort,
                             record->clientName, record->capabilities);
            liveness_.start();
            qCInfo(lcDaw).noquote()
                << QStringLiteral("Took over %1 (process %2) from the last run, with %3.")
                       .arg(dawName())
                       .arg(record->pid)
                       .arg(record->loaded.isEmpty() ? QStringLiteral("no song")
                                                     : SessionPlan::songName(record->loaded));
            // The song's other programs first, taken over as they start: the DAW's word that it
            // has the song counts only with theirs.
            others(record->loaded);
            run(plan_.tookOver(record->loaded, nsm_.canSwitch(), stageSong(), now()));
            return true;
        }
        delete taken;
    }
    endRecorded();
    return true;
}

bool SessionManager::recordedHeard(const QString& recordFile) {
    const Result<DawRecord> record = DawRecord::read(recordFile);
    return record && record->heard && DawProcess::startTimeOf(record->pid) == record->startTime;
}

DawProcess* SessionManager::endRecordedDaw(const QString& recordFile, const QString& name,
                                           QObject* owner) {
    const Result<DawRecord> record = DawRecord::read(recordFile);
    auto* old = record ? new DawProcess(name, owner) : nullptr;
    if (!old || !old->adopt(record->pid, record->startTime, QString())) {
        delete old;
        DawRecord::remove(recordFile);
        return nullptr;
    }
    qCWarning(lcDaw).noquote() << QStringLiteral(
                                      "The %1 left running by the last run (process %2) is ended.")
                                      .arg(name)
                                      .arg(record->pid);
    QObject::connect(old, &DawProcess::exited, old, [old, recordFile] {
        DawRecord::remove(recordFile);
        old->deleteLater();
    });
    old->stop(kEndGraceMs);
    return old;
}

void SessionManager::endRecorded() {
    // Two DAWs would fight over the audio and neither would hear the triggers: the one that
    // cannot be taken over ends before this Gigmora starts its own.
    leftover_ = endRecordedDaw(recordFile(), dawName(), this);
    if (!leftover_) return startProcess();
    run(plan_.endingOld());
    connect(leftover_, &DawProcess::exited, this, [this] {
        leftover_ = nullptr;
        guarded("SessionManager::start", [this] { startProcess(); });
    });
}

void SessionManager::launch() {
    if (options_.program.isEmpty()) return;
    nsm_.forgetClient();
    auto* p = new DawProcess(dawName(), this);
    process_ = p;
    watch(p);
    connect(p, &DawProcess::failedToStart, this, [this, p](const QString& reason) {
        qCWarning(lcDaw).noquote()
            << "Could not start" << options_.program.join(' ') + ":" << reason;
        if (p != process_) return p->deleteLater();
        process_ = nullptr;
        p->deleteLater();
        guarded("SessionManager::notStarted",
                [this] { run(plan_.notStarted(DawStatus::Reason::CannotStart)); });
    });
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("NSM_URL"), nsm_.url());
    for (const QString& variable : options_.environment)
        env.insert(variable.section('=', 0, 0), variable.section('=', 1));
    QString output = outputFile();
    if (output.isEmpty())
        output = QProcess::nullDevice();
    else
        QDir().mkpath(options_.runtimeFolder);
    p->start(options_.program, env, output);
    writeRecord();
    dialogPoll_.start();
}

void SessionManager::watch(DawProcess* process) {
    connect(process, &DawProcess::exited, this,
            [this, process](DawProcess::Ending ending, int status, const QString& lastLine) {
                if (process != process_) return;
                guarded("SessionManager::exited", [&] { exited(ending, status, lastLine); });
            });
}

void SessionManager::open(const QString& path) {
    held_ = {};
    others(path); // at once: the other programs start while the DAW's own one gets ready
    run(plan_.open(path, partThere(path), now()));
}

void SessionManager::others(const QString& song) {
    // Also for a song of its own alone when an earlier Gigmora left other programs running.
    const QString left =
        CompanionPrograms::runtimeFolderOf(options_.runtimeFolder, options_.clientId);
    if (!companions_ && (NsmSongFolder::isSongFolder(song) ||
                         (!left.isEmpty() && !QDir(left).isEmpty(QDir::Files)))) {
        CompanionPrograms::Options o;
        o.ownExecutable = options_.program.value(0);
        o.clientId = options_.clientId;
        o.nameSuffix = dawName().mid(nameOf(options_.program).size());
        o.runtimeFolder = options_.runtimeFolder;
        o.environment = options_.environment;
        o.loadTimeoutMs = options_.loadTimeoutMs;
        o.heard = options_.heard;
        o.standby = options_.standby;
        companions_ = std::make_unique<CompanionPrograms>(std::move(o));
        connect(companions_.get(), &CompanionPrograms::stateChanged, this, [this] {
            guarded("SessionManager::othersChanged", [this] { emit stateChanged(stateText()); });
        });
        connect(companions_.get(), &CompanionPrograms::loaded, this, [this](const QString& song) {
            guarded("SessionManager::othersLoaded", [&] {
                if (held_.path != song || plan_.loaded() != song) return;
                const qint64 ms = now() - std::exchange(held_, {}).ms;
                qCInfo(lcDaw).noquote()
                    << QStringLiteral("%1: every program has it, %2 ms after the load began.")
                           .arg(SessionPlan::songName(song))
                           .arg(ms);
                emit loaded(song, ms);
            });
        });
        connect(companions_.get(), &CompanionPrograms::cannotLoad, this,
                [this](const QString& song, const QString& reason) {
                    guarded("SessionManager::otherCannotLoad",
                            [&] { emit cannotLoad(song, reason); });
                });
    }
    // A song of the DAW's own alone ends the others; asked again, those without their part
    // try again.
    if (companions_) companions_->open(song);
}

bool SessionManager::othersLoading(const QString& song) const {
    return companions_ && companions_->waiting(song);
}

bool SessionManager::partThere(const QString& song) const {
    const QString own = ownPart(song);
    // A program given a path with nothing there makes a new session in it: in the song folder.
    return own == options_.placeholder || options_.songs.sessionExists(own);
}

QString SessionManager::ownPart(const QString& song) const {
    if (!NsmSongFolder::isSongFolder(song)) return song;
    const QString own = companions_ ? companions_->ownData(song) : QString();
    // A song without a part for the DAW's own program leaves it on its placeholder.
    return own.isEmpty() && !options_.placeholder.isEmpty() ? options_.placeholder : own;
}

QStringList SessionManager::clientIds() const {
    return QStringList{options_.clientId} +
           (companions_ ? companions_->clientIds() : QStringList());
}

QString SessionManager::stateText() const {
    const QString others = companions_ ? companions_->text() : QString();
    if (others.isEmpty()) return plan_.text();
    // The DAW's own "loaded" is not the song's while another program still loads its part.
    const QString own =
        othersLoading(plan_.loaded())
            ? QStringLiteral("Loading %1…").arg(SessionPlan::songName(plan_.loaded()))
            : plan_.text();
    return own + QStringLiteral(" · ") + others;
}

DawStatus SessionManager::status() const {
    DawStatus s = plan_.status();
    if (s.phase == DawStatus::Phase::Loaded && othersLoading(plan_.loaded()))
        s.phase = DawStatus::Phase::Loading;
    return s;
}

QString SessionManager::loadedPath() const {
    return othersLoading(plan_.loaded()) ? QString() : plan_.loaded();
}

QString SessionManager::pendingPath() const {
    const QString pending = plan_.pending();
    return pending.isEmpty() && othersLoading(plan_.loaded()) ? plan_.loaded() : pending;
}

void SessionManager::restart() {
    DawProcess* old = std::exchange(process_, nullptr);
    if (old) {
        old->disconnect(this);
        connect(old, &DawProcess::exited, old, &QObject::deleteLater);
        old->stop(kEndGraceMs);
    }
    launch();
}

void SessionManager::kill() {
    if (process_ && process_->running()) ::kill(pid_t(process_->pid()), SIGKILL);
}

void SessionManager::lookForDialogs() {
    // Looking costs a walk over the X server's windows: only while a question would hold up.
    const QString question =
        process_ && plan_.waitsForDaw() ? dialogs_.question(process_->pid()) : QString();
    run(plan_.question(question, now()));
}

void SessionManager::checkClient() {
    if (!process_ || !process_->running() || !nsm_.hasClient() || nsm_.clientListens()) {
        absent_ = 0;
        return;
    }
    // Twice, a second apart: a program may close its port for a moment and open it again.
    if (++absent_ < 2) return;
    absent_ = 0;
    qCWarning(lcDaw).noquote() << dawName()
                               << "has gone as a session-manager client while its process lives "
                                  "on; it is ended and started again with its song.";
    nsm_.forgetClient();
    ::kill(pid_t(process_->pid()), SIGKILL); // its end comes as a death's
}

void SessionManager::startAgain() {
    run(plan_.startAgain());
}

void SessionManager::exited(DawProcess::Ending ending, int status, const QString& lastLine) {
    std::exchange(process_, nullptr)->deleteLater();
    nsm_.forgetClient();
    if (!recordFile().isEmpty()) DawRecord::remove(recordFile());
    dialogPoll_.stop();
    liveness_.stop();
    const auto how = ending == DawProcess::Ending::Quit      ? SessionPlan::Ending::Quit
                     : ending == DawProcess::Ending::Crashed ? SessionPlan::Ending::Crashed
                                                             : SessionPlan::Ending::Vanished;
    run(plan_.exited(how, status, lastLine, now()));
    if (ending_) emit ended();
}

void SessionManager::end(int graceMs) {
    ending_ = true;
    if (companions_) companions_->end(graceMs);
    run(plan_.quit());
    dialogPoll_.stop();
    liveness_.stop();
    if (process_)
        process_->stop(graceMs);
    else
        emit ended();
}

void SessionManager::shutdown(int graceMs) {
    if (companions_) companions_->end(graceMs); // asked with the DAW: the waits overlap
    run(plan_.quit());
    dialogPoll_.stop();
    liveness_.stop();
    if (leftover_) leftover_->stopAndWait(graceMs);
    const bool had = process_ != nullptr;
    if (process_) {
        process_->disconnect(this);
        process_->stopAndWait(graceMs);
        delete std::exchange(process_, nullptr);
    }
    if (companions_) companions_->shutdown(graceMs);
    if (!had || options_.runtimeFolder.isEmpty()) return;
    // A clean end leaves nothing for the next Gigmora to take over or read.
    DawRecord::remove(recordFile());
    QFile::remove(outputFile());
    QDir().rmdir(options_.runtimeFolder);
}

QString SessionManager::configHomeFor(const QString& clientId) {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Gigmora/") + clientId;
}

void SessionManager::seedConfigHome(const QStringList& program, const QString& home) {
    if (program.isEmpty() || QFileInfo::exists(home)) return;
    QDir().mkpath(home);
    const QString prefix = nameOf(program).toLower();
    const QDir own(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation));
    for (const QString& folder : own.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (!folder.toLower().startsWith(prefix)) continue;
        const QString from = own.filePath(folder);
        QDirIterator files(from, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString file = files.next();
            const QString to = home + '/' + folder + '/' + QDir(from).relativeFilePath(file);
            QDir().mkpath(QFileInfo(to).path());
            QFile::copy(file, to);
        }
    }
}
