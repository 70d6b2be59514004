#include "daw/SetlistCheck.h"

#include "daw/SongLengths.h"
#include "library/ProgramProfile.h"

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
    return SongLengths::total(seconds, withoutLength);
}

SetlistCheck::SetlistCheck(const GigmoraConfig::Daw& daw)
    : system_(SystemCheck::now()), conditions_{songsOf(daw), system_.sampleRate, system_.ports,
                                               daw.standby, &plugins_} {}

ProjectKind SetlistCheck::songsOf(const GigmoraConfig::Daw& daw) {
    return daw.control == GigmoraConfig::Daw::Control::SessionManager
               ? ProgramProfile::of(daw.program()).songs
               : ProjectKind();
}

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
