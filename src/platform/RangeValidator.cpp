#include "platform/RangeValidator.h"

RangeValidator::RangeValidator(int minimum, int maximum, QObject* parent)
    : QValidator(parent), minimum_(minimum), maximum_(maximum) {}

QValidator::State RangeValidator::validate(QString& input, int&) const {
    if (input.isEmpty() || (input == QLatin1String("-") && minimum_ < 0)) return Intermediate;
    bool ok = false;
    const qlonglong v = input.toLongLong(&ok);
    if (!ok || input.startsWith('+') || input.contains(' ')) return Invalid;
    return v >= minimum_ && v <= maximum_ ? Acceptable : Invalid;
}
