#pragma once

#include <QVariant>

// A boxed number, as the platform's number objects are: booleans, integers and reals.
inline bool isNumberValue(const QVariant& v) {
    switch (v.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}
