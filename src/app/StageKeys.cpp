#include "app/StageKeys.h"

#include <QAbstractButton>
#include <QKeyEvent>
#include <QWidget>

StageKeys::StageKeys(QWidget* performanceView, QAbstractButton* next, QAbstractButton* previous)
    : QObject(performanceView), view_(performanceView), next_(next), previous_(previous) {
    view_->setFocusPolicy(Qt::StrongFocus);
    // Clicks on the view's own controls leave the keyboard with the view.
    for (QWidget* child : view_->findChildren<QWidget*>())
        child->setFocusPolicy(Qt::NoFocus);
    view_->installEventFilter(this);
}

bool StageKeys::isNextKey(int key) {
    return key == Qt::Key_PageDown || key == Qt::Key_Right || key == Qt::Key_Down;
}

bool StageKeys::isPreviousKey(int key) {
    return key == Qt::Key_PageUp || key == Qt::Key_Left || key == Qt::Key_Up;
}

bool StageKeys::eventFilter(QObject* watched, QEvent* event) {
    if (watched != view_) return false;
    switch (event->type()) {
    case QEvent::ShortcutOverride:
        // Claimed here, so no menu shortcut fires while the stage is shown.
        event->accept();
        return true;
    case QEvent::KeyPress: {
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool plain = (key->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
        if (plain && !key->isAutoRepeat()) {
            if (isNextKey(key->key()) && next_->isEnabled()) next_->click();
            if (isPreviousKey(key->key()) && previous_->isEnabled()) previous_->click();
        }
        return true;
    }
    case QEvent::KeyRelease:
        return true;
    default:
        return false;
    }
}
