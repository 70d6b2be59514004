#include "daw/ArdourSession.h"

#include "library/NsmSongFolder.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

namespace {
// A time as Ardour writes it, in seconds; none for one in beats (it needs the tempo map).
std::optional<double> secondsOf(QStringView time, int sampleRate) {
    bool ok = false;
    if (time.startsWith(u'a')) {
        const qint64 clocks = time.mid(1).toLongLong(&ok);
        if (ok) return double(clocks) / ArdourSession::kSuperclocks;
    } else if (!time.startsWith(u'b') && sampleRate > 0) {
        const qint64 samples = time.toLongLong(&ok); // sessions before Ardour 7 count samples
        if (ok) return double(samples) / sampleRate;
    }
    return std::nullopt;
}

// Where Ardour looks for a source's file: the session's own interchange folders.
bool sourceFound(const QString& folder, const QString& name, bool midi) {
    if (QFileInfo(name).isAbsolute()) return QFileInfo::exists(name);
    QDirIterator sessions(folder + "/interchange", QDir::Dirs | QDir::NoDotAndDotDot);
    while (sessions.hasNext())
        if (QFileInfo::exists(sessions.next() + (midi ? "/midifiles/" : "/audiofiles/") + name))
            return true;
    return false;
}
} // namespace

Result<ArdourSession> ArdourSession::read(const QString& folder) {
    if (!QFileInfo(folder).isDir())
        return Failure{Failure::Code::NotFound, QStringLiteral("no folder at ") + folder};
    // A song folder of several programs: its Ardour part.
    if (NsmSongFolder::isSongFolder(folder)) {
        const QList<NsmSongFolder::Program> programs = NsmSongFolder::programs(folder);
        const NsmSongFolder::Program* ardour = NsmSongFolder::find(programs, "ardour");
        if (!ardour)
            return Failure{Failure::Code::NotFound, QStringLiteral("no Ardour in ") + folder + "/" +
                                                        NsmSongFolder::listFile()};
        return read(NsmSongFolder::dataPath(folder, *ardour));
    }
    ArdourSession s;
    s.snapshot = folder + "/" + QFileInfo(folder).fileName() + ".ardour";
    if (!QFileInfo::exists(s.snapshot)) {
        const QStringList any = QDir(folder).entryList({"*.ardour"}, QDir::Files, QDir::Name);
        if (any.isEmpty())
            return Failure{Failure::Code::NotFound, QStringLiteral("no .ardour file in ") + folder};
        s.snapshot = folder + "/" + any.first();
    }
    QFile file(s.snapshot);
    if (!file.open(QIODevice::ReadOnly))
        return Failure{Failure::Code::NotFound, file.errorString()};
    s.pending = QFileInfo::exists(s.snapshot.chopped(7) + ".pending");
    QXmlStreamReader xml(&file);
    bool session = false;
    int depth = 0, routeDepth = -1, masterOutDepth = -1; // where the open Route and IO began
    bool master = false;
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::EndElement) {
            if (depth == routeDepth) routeDepth = -1;
            if (depth == masterOutDepth) masterOutDepth = -1;
            --depth;
        }
        if (token != QXmlStreamReader::StartElement) continue;
        ++depth;
        const QXmlStreamAttributes a = xml.attributes();
        const QStringView name = xml.name();
        // The Master is known only by its PresentationInfo, which comes before its IOs.
        if (name == u"Route") {
            routeDepth = depth;
            master = false;
        } else if (name == u"PresentationInfo" && depth == routeDepth + 1) {
            master = a.value("flags").contains(u"MasterOut");
            if (master && !s.masterConnections) s.masterConnections = QStringList();
        } else if (name == u"IO" && master && depth == routeDepth + 1 &&
                   a.value("direction") == u"Output") {
            masterOutDepth = depth;
        } else if (name == u"Connection" && masterOutDepth >= 0) {
            *s.masterConnections << a.value("other").toString();
        }
        if (name == u"Session" && !session) {
            session = true;
            s.sampleRate = a.value("sample-rate").toInt();
            s.version = a.value("version").toInt();
        } else if (name == u"Location" && a.value("flags").contains(u"IsSessionRange")) {
            const auto start = secondsOf(a.value("start"), s.sampleRate);
            const auto end = secondsOf(a.value("end"), s.sampleRate);
            if (start && end) s.seconds = *end - *start;
        } else if (name == u"Source" && !a.value("name").isEmpty()) {
            const QString file = a.value("name").toString();
            if (!sourceFound(folder, file, a.value("type") == u"midi") &&
                !s.missingFiles.contains(file))
                s.missingFiles << file;
        } else if (name == u"Processor" && a.value("type") == u"lv2") {
            const QString uri = a.value("unique-id").toString();
            if (!uri.isEmpty() && !s.lv2.contains(uri)) s.lv2 << uri;
        }
    }
    if (xml.hasError() || !session)
        return Failure{Failure::Code::Malformed,
                       s.snapshot + QStringLiteral(" is not an Ardour session") +
                           (xml.hasError() ? ": " + xml.errorString() : QString())};
    return s;
}
