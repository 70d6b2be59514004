#pragma once

#include <QDateTime>

// Dates in the settings archive and the library store count seconds from this moment.
inline const QDateTime& referenceDate() {
    static const QDateTime date(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
    return date;
}
