#pragma once

#include <QString>

struct StageSnapshot;

// A message from the page over its WebSocket: Next, Previous, or a tap on a row of the
// running order it showed. Anything else is no command.
struct RemoteCommand {
    enum class Kind { None, Next, Previous, Song };

    static RemoteCommand parse(const QString& text);
    // A tap stands only while the stage still shows that row, with that title, of that setlist.
    bool matches(const StageSnapshot& stage) const;

    Kind kind = Kind::None;
    int row = -1;
    QString setlist;
    QString title;
};
