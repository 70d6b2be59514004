#pragma once

#include <QStringList>
#include <QWidget>

class QAbstractButton;
class QButtonGroup;

// A row of exclusive segments, each with a label and a tag; `activated` comes from a person's
// click, not from setSelectedSegment.
class SegmentedControl : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QStringList labels READ labels WRITE setLabels)
public:
    explicit SegmentedControl(QWidget* parent = nullptr);

    QStringList labels() const { return labels_; }
    // One segment per label, tagged 0, 1, 2… and named for screen readers after its label.
    void setLabels(const QStringList& labels);
    int segmentCount() const { return int(labels_.size()); }
    int selectedSegment() const;
    void setSelectedSegment(int segment);
    int tagForSegment(int segment) const;
    void setTag(int tag, int segment);
    QAbstractButton* segmentButton(int segment) const;

signals:
    void activated();

private:
    QStringList labels_;
    QList<int> tags_;
    QButtonGroup* group_;
};
