#pragma once

#include <QObject>

class QAbstractButton;
class QWidget;

// The Perform view's keyboard: page-turner pedals and the arrow keys step through the running
// order as the Next and Previous buttons do, and every other key, shortcut or Tab does
// nothing, so a stray hand or knee cannot edit the library on stage. The view keeps the focus
// (its controls take none), and a held key steps once.
class StageKeys : public QObject {
    Q_OBJECT
public:
    StageKeys(QWidget* performanceView, QAbstractButton* next, QAbstractButton* previous);

    static bool isNextKey(int key);
    static bool isPreviousKey(int key);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* view_;
    QAbstractButton* next_;
    QAbstractButton* previous_;
};
