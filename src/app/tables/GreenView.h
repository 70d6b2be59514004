#pragma once

#include <QWidget>

// A plain view filled with the standard green.
class GreenView : public QWidget {
    Q_OBJECT
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent* event) override;
};
