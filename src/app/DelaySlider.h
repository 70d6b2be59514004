#pragma once

#include <QSlider>

// A slider of seconds in fixed steps: `stepsPerSecond` integer positions to the second.
class DelaySlider : public QSlider {
    Q_OBJECT
    Q_PROPERTY(int stepsPerSecond READ stepsPerSecond WRITE setStepsPerSecond)
public:
    explicit DelaySlider(QWidget* parent = nullptr);

    int stepsPerSecond() const { return steps_; }
    void setStepsPerSecond(int steps) { steps_ = steps > 0 ? steps : 1; }
    double doubleValue() const { return double(value()) / steps_; }
    void setDoubleValue(double seconds);
    // The value as the slider itself writes it: shortest form, "2.5", "30".
    QString stringValue() const { return QString::number(doubleValue()); }

private:
    int steps_ = 1;
};
