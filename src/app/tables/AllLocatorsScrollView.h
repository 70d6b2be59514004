#pragma once

#include <QScrollBar>

// The lists' scroller: it takes no width (it overlays the list) and draws a slate fill under
// a small knob.
class AllLocatorsScrollView : public QScrollBar {
    Q_OBJECT
public:
    static const QColor kFill;
    explicit AllLocatorsScrollView(QWidget* parent = nullptr);
    static int scrollerWidth() { return 0; }
    static bool isCompatibleWithOverlayScrollers() { return true; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};
