#include "app/tables/GigmoraSetlistTableCellView.h"

#include <QHBoxLayout>
#include <QLabel>

GigmoraSetlistTableCellView::GigmoraSetlistTableCellView(QWidget* parent) : QWidget(parent) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 0, 6, 0);
    songTitleTextField_ = new QLabel(this);
    songTitleTextField_->setAccessibleName("Song title");
    songProgChangeTextField_ = new QLabel(this);
    songProgChangeTextField_->setAccessibleName("Program change");
    songProgChangeTextField_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    layout->addWidget(songTitleTextField_, 1);
    layout->addWidget(songProgChangeTextField_);
}
