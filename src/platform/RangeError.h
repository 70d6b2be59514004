#pragma once

#include "platform/PlatformError.h"

#include <QList>
#include <QString>

// An index outside a list.
class RangeError : public PlatformError {
public:
    using PlatformError::PlatformError;

    // list[index], or this error in the platform's words when the index is outside.
    template <typename T> static const T& checkedAt(const QList<T>& list, qsizetype index) {
        if (index < 0 || index >= list.size())
            throw RangeError(QStringLiteral("*** -[__NSArrayI objectAtIndex:]: index %1 beyond "
                                            "bounds [0 .. %2]")
                                 .arg(index)
                                 .arg(list.size() - 1)
                                 .toStdString());
        return list[index];
    }
};
