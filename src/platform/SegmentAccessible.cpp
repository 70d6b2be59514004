#include "platform/SegmentAccessible.h"

#include "platform/SegmentedControl.h"

#include <QAbstractButton>

namespace {
QAbstractButton* segmentOf(QWidget* w) {
    auto* button = qobject_cast<QAbstractButton*>(w);
    return button && qobject_cast<SegmentedControl*>(button->parentWidget()) ? button : nullptr;
}
} // namespace

SegmentAccessible::SegmentAccessible(QWidget* widget, QAccessible::Role role)
    : QAccessibleWidget(widget, role) {}

QAccessible::State SegmentAccessible::state() const {
    QAccessible::State s = QAccessibleWidget::state();
    if (QAbstractButton* b = segmentOf(widget())) {
        s.selectable = true;
        s.selected = b->isChecked();
        s.checked = false;
        s.checkable = false;
    }
    return s;
}

QString SegmentAccessible::text(QAccessible::Text t) const {
    QString text = QAccessibleWidget::text(t);
    if (t == QAccessible::Name && text.isEmpty())
        if (QAbstractButton* b = segmentOf(widget())) text = b->text();
    return text;
}

QStringList SegmentAccessible::actionNames() const {
    QStringList names = QAccessibleWidget::actionNames();
    if (segmentOf(widget())) names.prepend(pressAction());
    return names;
}

void SegmentAccessible::doAction(const QString& actionName) {
    if (QAbstractButton* b = segmentOf(widget()); b && actionName == pressAction()) {
        b->click();
        return;
    }
    QAccessibleWidget::doAction(actionName);
}

QAccessibleInterface* SegmentAccessible::factory(const QString&, QObject* object) {
    auto* w = qobject_cast<QWidget*>(object);
    if (!w) return nullptr;
    if (qobject_cast<SegmentedControl*>(w))
        return new SegmentAccessible(w, QAccessible::PageTabList);
    if (segmentOf(w)) return new SegmentAccessible(w, QAccessible::PageTab);
    return nullptr;
}

void SegmentAccessible::install() {
    static const bool installed = [] {
        QAccessible::installFactory(&SegmentAccessible::factory);
        return true;
    }();
    (void)installed;
}
