#pragma once

#include <QPointer>
#include <QScrollBar>

class QAbstractScrollArea;
class QTimer;

// A thin scroller over a list's right edge, for a list whose own scroller takes no width: it
// shows while the list scrolls or the pointer is at that edge, then fades out of the way, as
// the platform's overlay scrollers do. It can be dragged like any scroller.
class OverlayScroller : public QScrollBar {
    Q_OBJECT
public:
    explicit OverlayScroller(QAbstractScrollArea* area);

    static constexpr int kWidth = 7;
    static constexpr int kShowMs = 900;
    QTimer* hideTimer() const { return hide_; }
    // Shows it for a moment (nothing to show when the list fits).
    void flash();
    // Out of the way, unless the pointer is on it or drags it.
    void fade();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void place();

    QAbstractScrollArea* area_;
    QPointer<QWidget> viewport_;
    QScrollBar* source_;
    QTimer* hide_;
};
