#include "platform/Workspace.h"

#include "platform/PlatformLog.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTextStream>
#include <QUrl>

namespace {
// The [Desktop Entry] group's keys, with the value escapes (\s \n \t \r \\) resolved.
QHash<QString, QString> readDesktopEntry(const QString& file) {
    QHash<QString, QString> keys;
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly | QIODevice::Text)) return keys;
    QTextStream in(&f);
    bool inGroup = false;
    while (!in.atEnd()) {
        const QString line = in.readLine().trimmed();
        if (line.startsWith('[')) {
            inGroup = line == QLatin1String("[Desktop Entry]");
            continue;
        }
        const qsizetype eq = line.indexOf('=');
        if (!inGroup || line.startsWith('#') || eq <= 0) continue;
        QString value;
        const QString raw = line.mid(eq + 1).trimmed();
        for (qsizetype i = 0; i < raw.size(); ++i) {
            if (raw[i] == '\\' && i + 1 < raw.size()) {
                const QChar c = raw[++i];
                value += c == 's'   ? QChar(' ')
                         : c == 'n' ? QChar('\n')
                         : c == 't' ? QChar('\t')
                         : c == 'r' ? QChar('\r')
                                    : c;
            } else {
                value += raw[i];
            }
        }
        keys.insert(line.left(eq).trimmed(), value);
    }
    return keys;
}
} // namespace

QString Workspace::findDesktopEntry(const QString& name) {
    QStringList dirs = QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation);
    for (const QString& dir : dirs) {
        QDirIterator it(dir, {"*.desktop"}, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString file = it.next();
            const auto keys = readDesktopEntry(file);
            if (keys.value("Name") == name && keys.value("Type", "Application") == "Application" &&
                keys.contains("Exec"))
                return file;
        }
    }
    return {};
}

QStringList Workspace::splitExec(const QString& exec) {
    QStringList args;
    QString current;
    bool quoted = false, any = false;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar c = exec[i];
        if (quoted) {
            if (c == '"') {
                quoted = false;
            } else if (c == '\\' && i + 1 < exec.size() &&
                       QString("\"`$\\").contains(exec[i + 1])) {
                current += exec[++i];
            } else {
                current += c;
            }
        } else if (c == '"') {
            quoted = any = true;
        } else if (c.isSpace()) {
            if (any || !current.isEmpty()) args << current;
            current.clear();
            any = false;
        } else {
            current += c;
        }
    }
    if (any || !current.isEmpty()) args << current;
    return args;
}

QStringList Workspace::commandLine(const QString& desktopEntryPath, const QString& path) {
    const auto keys = readDesktopEntry(desktopEntryPath);
    QStringList out;
    bool passedFile = false;
    for (const QString& arg : splitExec(keys.value("Exec"))) {
        // A lone file code becomes exactly one argument: the path as it is, whatever it holds.
        if (arg == "%f" || arg == "%F") {
            out << path;
            passedFile = true;
            continue;
        }
        if (arg == "%u" || arg == "%U") {
            out << QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
            passedFile = true;
            continue;
        }
        if (arg == "%i") {
            if (keys.contains("Icon")) out << "--icon" << keys.value("Icon");
            continue;
        }
        QString expanded;
        for (qsizetype i = 0; i < arg.size(); ++i) {
            if (arg[i] != '%' || i + 1 >= arg.size()) {
                expanded += arg[i];
                continue;
            }
            const QChar code = arg[++i];
            if (code == '%')
                expanded += '%';
            else if (code == 'c')
                expanded += keys.value("Name");
            else if (code == 'k')
                expanded += desktopEntryPath;
            else if (code == 'f' || code == 'F') {
                expanded += path;
                passedFile = true;
            } else if (code == 'u' || code == 'U') {
                expanded += QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
                passedFile = true;
            }
            // Deprecated and unknown codes are dropped.
        }
        // An argument made only of codes that expand to nothing goes, rather than becoming
        // an empty argument; a quoted empty one ("") stays.
        if (expanded.isEmpty() && !arg.isEmpty()) continue;
        out << expanded;
    }
    if (!passedFile && !out.isEmpty())
        out << path; // the entry takes no file code; the file still has to reach it
    return out;
}

bool Workspace::openFile(const QString& path, const QString& applicationName) {
    // Like the platform, refuse what is not there rather than start the DAW on nothing; a
    // relative path would depend on the folder Gigmora happened to start in.
    if (!QFileInfo(path).isAbsolute() || !QFileInfo::exists(path)) {
        qCWarning(lcWorkspace).noquote() << "Not opening" << path << ": no such file or folder.";
        return false;
    }
    QString name = applicationName;
    if (name.endsWith(QLatin1String(".app"))) name.chop(4);
#ifdef Q_OS_MACOS
    return QProcess::startDetached("open", {"-a", name, path});
#else
    const QString entry = findDesktopEntry(name);
    if (entry.isEmpty()) {
        qCWarning(lcWorkspace).noquote()
            << "No desktop entry named" << name << "to open" << path << "with.";
        return false;
    }
    QStringList args = commandLine(entry, path);
    if (args.isEmpty()) return false;
    const QString program = args.takeFirst();
    const bool ok = QProcess::startDetached(program, args);
    if (!ok) qCWarning(lcWorkspace).noquote() << "Could not start" << program << "from" << entry;
    return ok;
#endif
}
