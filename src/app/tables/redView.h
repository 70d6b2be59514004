#pragma once

#include <QWidget>

// A plain view; it draws only what every view draws.
class redView : public QWidget {
    Q_OBJECT
public:
    using QWidget::QWidget;
};
