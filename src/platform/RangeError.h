#pragma once

#include "platform/Guard.h"
#include "platform/PlatformError.h"

#include <QList>
#include <QString>

// An index outside a list.
class RangeError : public PlatformError {
public:
    using PlatformError::PlatformError;

    // The platform's words for `index` outside a list of `size` entries.
    static RangeError beyondBounds(qsizetype index, qsizetype size) {
        return RangeError(QStringLiteral("*** -[__NSArrayI objectAtIndex:]: index %1 beyond "
                                         "bounds [0 .. %2]")
                              .arg(index)
                              .arg(size - 1)
                              .toStdString());
    }

    // list[index]; outside it this error is a fault.
    template <typename T> static const T& checkedAt(const QList<T>& list, qsizetype index) {
        if (index < 0 || index >= list.size()) throw beyondBounds(index, list.size());
        return list[index];
    }

    // list[index] where an index outside it ends the caller's operation by design: then the
    // error is logged and this gives nullptr.
    template <typename T> static const T* atOrEnd(const QList<T>& list, qsizetype index) {
        if (index >= 0 && index < list.size()) return &list[index];
        endOperation(beyondBounds(index, list.size()));
        return nullptr;
    }
};
