#pragma once

#include <QAccessibleWidget>

class QObject;
class QString;

// What a screen reader hears of a segmented control: a list of page tabs, the chosen one
// selected, each pressed as a click would; not a row of check boxes.
class SegmentAccessible : public QAccessibleWidget {
public:
    SegmentAccessible(QWidget* widget, QAccessible::Role role);

    QAccessible::State state() const override;
    QString text(QAccessible::Text t) const override;
    QStringList actionNames() const override;
    void doAction(const QString& actionName) override;

    // Serves segmented controls and their segments; every other object gets Qt's own.
    static QAccessibleInterface* factory(const QString& className, QObject* object);
    static void install();
};
