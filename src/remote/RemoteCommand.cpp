#include "remote/RemoteCommand.h"

#include "performance/StageSnapshot.h"

#include <QJsonDocument>
#include <QJsonObject>

RemoteCommand RemoteCommand::parse(const QString& text) {
    const QJsonObject c = QJsonDocument::fromJson(text.toUtf8()).object();
    const QString what = c.value(QLatin1String("do")).toString();
    RemoteCommand out;
    if (what == QLatin1String("next")) {
        out.kind = Kind::Next;
    } else if (what == QLatin1String("previous")) {
        out.kind = Kind::Previous;
    } else if (what == QLatin1String("song")) {
        out.kind = Kind::Song;
        out.row = c.value(QLatin1String("row")).toInt(-1);
        out.setlist = c.value(QLatin1String("setlist")).toString();
        out.title = c.value(QLatin1String("title")).toString();
    }
    return out;
}

bool RemoteCommand::matches(const StageSnapshot& stage) const {
    return kind == Kind::Song && setlist == stage.setlist && row >= 0 && row < stage.songs.size() &&
           title == stage.songs.at(row);
}
