#pragma once

#include <QValidator>

// Whole numbers in range only: unlike QIntValidator, a number out of range is refused as it
// is typed, not left pending.
class RangeValidator : public QValidator {
    Q_OBJECT
public:
    RangeValidator(int minimum, int maximum, QObject* parent);
    State validate(QString& input, int& position) const override;

private:
    int minimum_, maximum_;
};
