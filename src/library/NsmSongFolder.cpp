#include "library/NsmSongFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

bool NsmSongFolder::isSongFolder(const QString& path) {
    return !path.isEmpty() && QFileInfo(QDir(path).filePath(listFile())).isFile();
}

QList<NsmSongFolder::Program> NsmSongFolder::programs(const QString& path) {
    QList<Program> out;
    QFile file(QDir(path).filePath(listFile()));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) return out;
    // A song folder is small; a huge file is not one, and is not read into memory.
    for (int lines = 0; !file.atEnd() && lines < 256; ++lines) {
        const QStringList fields = QString::fromUtf8(file.readLine(4096)).trimmed().split(':');
        if (fields.size() != 3 || fields.contains(QString())) continue;
        // The name and id make a path beside the list: nothing that would leave the folder. The
        // executable is one on the PATH, never a file a folder from elsewhere brings along.
        if (fields[0].contains('/') || fields[2].contains('/') || fields[0].startsWith('.') ||
            fields[1].contains('/'))
            continue;
        out.append({fields[0], fields[1], fields[2]});
    }
    return out;
}

QString NsmSongFolder::dataPath(const QString& folder, const Program& program) {
    return QDir(folder).filePath(program.name + '.' + program.id);
}

const NsmSongFolder::Program* NsmSongFolder::find(const QList<Program>& programs,
                                                  const QString& executable) {
    // Debian installs versioned names ("ardour7") that lists write with or without the number.
    const auto bare = [](const QString& command) {
        QString name = QFileInfo(command).fileName().toLower();
        while (!name.isEmpty() && name.back().isDigit())
            name.chop(1);
        return name;
    };
    const QString wanted = bare(executable);
    for (const Program& p : programs)
        if (bare(p.executable) == wanted) return &p;
    return nullptr;
}
