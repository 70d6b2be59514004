#pragma once

#include <QString>
#include <memory>

// What went wrong, for the person at the keyboard: domain and code for the program, a
// description and a failure reason for the dialog, and the error that caused it.
struct Error {
    QString domain;
    int code = 0;
    QString localizedDescription;
    QString localizedFailureReason;
    std::shared_ptr<const Error> underlying;

    bool isNull() const { return domain.isEmpty() && code == 0 && localizedDescription.isEmpty(); }
};
