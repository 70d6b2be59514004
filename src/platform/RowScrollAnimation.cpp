#include "platform/RowScrollAnimation.h"

#include <QPropertyAnimation>
#include <QRect>
#include <QScrollBar>
#include <algorithm>
#include <cmath>

void RowScrollAnimation::scroll(QScrollBar* bar, const QRect& row, int viewHeight) {
    const int top = row.top() + bar->value();
    const double excess = std::round((row.height() - viewHeight) * 0.5);
    const int target = std::clamp(top + std::max(0, int(excess)), bar->minimum(), bar->maximum());
    if (!animation_) animation_ = new QPropertyAnimation(owner_);
    animation_->stop();
    animation_->setTargetObject(bar);
    animation_->setPropertyName("value");
    animation_->setDuration(250);
    animation_->setStartValue(bar->value());
    animation_->setEndValue(target);
    animation_->start();
}
