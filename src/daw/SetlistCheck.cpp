#include "daw/SetlistCheck.h"

#include <algorithm>

QString SetlistCheck::Row::verdict() const {
    if (!check.passes()) return check.problems.join(' ');
    return QStringLiteral("passes, ") + (check.seconds ? SessionCheck::length(*check.seconds)
                                                       : QStringLiteral("length unknown"));
}

bool SetlistCheck::Result::passes() const {
    return std::all_of(rows.begin(), rows.end(), [](const Row& r) { return r.check.passes(); });
}

QString SetlistCheck::Result::total() const {
    QString words = QStringLiteral("In all: ") + SessionCheck::length(seconds);
    if (withoutLength == 1) words += QStringLiteral("; 1 song without a known length");
    if (withoutLength > 1)
        words += QStringLiteral("; %1 songs without a known length").arg(withoutLength);
    return words;
}

SetlistCheck::SetlistCheck(bool sessions, bool routed)
    : system_(SystemCheck::now()), conditions_{sessions, system_.sampleRate, system_.ports, routed,
                                               &plugins_} {}

SetlistCheck::Result SetlistCheck::check(const QList<Song>& songs) const {
    Result result;
    for (const Song& song : songs) {
        Row row{song.title, song.path, SessionCheck::of(song.path, conditions_)};
        row.check.seconds ? void(result.seconds += *row.check.seconds)
                          : void(++result.withoutLength);
        result.rows.push_back(std::move(row));
    }
    return result;
}
