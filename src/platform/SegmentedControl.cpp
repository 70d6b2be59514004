#include "platform/SegmentedControl.h"

#include "platform/SegmentAccessible.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QToolButton>

SegmentedControl::SegmentedControl(QWidget* parent)
    : QWidget(parent), group_(new QButtonGroup(this)) {
    SegmentAccessible::install();
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    group_->setExclusive(true);
    connect(group_, &QButtonGroup::idClicked, this, [this] { emit activated(); });
}

void SegmentedControl::setLabels(const QStringList& labels) {
    for (QAbstractButton* b : group_->buttons()) {
        group_->removeButton(b);
        b->deleteLater();
    }
    labels_ = labels;
    tags_.clear();
    for (int i = 0; i < labels.size(); ++i) {
        auto* b = new QToolButton(this);
        b->setText(labels[i]);
        b->setAccessibleName(labels[i]);
        b->setCheckable(true);
        b->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
        b->setFocusPolicy(Qt::TabFocus);
        group_->addButton(b, i);
        layout()->addWidget(b);
        tags_.append(i);
    }
}

int SegmentedControl::selectedSegment() const {
    return group_->checkedId();
}

void SegmentedControl::setSelectedSegment(int segment) {
    if (QAbstractButton* b = group_->button(segment)) b->setChecked(true);
}

int SegmentedControl::tagForSegment(int segment) const {
    return segment >= 0 && segment < tags_.size() ? tags_[segment] : -1;
}

void SegmentedControl::setTag(int tag, int segment) {
    if (segment >= 0 && segment < tags_.size()) tags_[segment] = tag;
}

QAbstractButton* SegmentedControl::segmentButton(int segment) const {
    return group_->button(segment);
}
