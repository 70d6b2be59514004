#pragma once

#include "platform/TableView.h"

// The current setlist's songs as a plain table: takes songs and files.
class CurrentSetlistTableView : public TableView {
    Q_OBJECT
public:
    explicit CurrentSetlistTableView(QWidget* parent = nullptr);
};
