#pragma once

#include <QString>

// Why one of Gigmora's own operations did not happen: a code for the program and words for
// the log and the stage.
struct Failure {
    enum class Code {
        NoServer,     // no JACK server runs
        NameTaken,    // another client or program has the name or port
        Refused,      // the server, the system or the peer refused what was asked
        NotConnected, // nobody to send to yet
        NotFound,     // no such file or record
        Malformed,    // what was read is not what it should be
    };
    Code code;
    QString words;
    bool operator==(const Failure&) const = default;
};
