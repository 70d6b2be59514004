#include "app/DelaySlider.h"

#include <cmath>

DelaySlider::DelaySlider(QWidget* parent) : QSlider(Qt::Horizontal, parent) {}

void DelaySlider::setDoubleValue(double seconds) {
    // Out-of-range or broken settings land on the nearest end.
    const double steps = std::isfinite(seconds) ? std::round(seconds * steps_) : 0;
    setValue(int(std::clamp(steps, double(minimum()), double(maximum()))));
}
