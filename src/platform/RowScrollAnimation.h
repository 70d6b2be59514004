#pragma once

class QPropertyAnimation;
class QRect;
class QScrollBar;
class QWidget;

// The animated scroll that brings a row into view: the row's top comes to the top edge,
// lowered by half of what the row is taller than the view (never raised). A new scroll stops
// the one still running.
class RowScrollAnimation {
public:
    explicit RowScrollAnimation(QWidget* owner) : owner_(owner) {}

    // `row` in viewport coordinates, `viewHeight` the viewport's height.
    void scroll(QScrollBar* bar, const QRect& row, int viewHeight);
    QPropertyAnimation* animation() const { return animation_; }

private:
    QWidget* owner_;
    QPropertyAnimation* animation_ = nullptr; // a child of the owner, made on first use
};
