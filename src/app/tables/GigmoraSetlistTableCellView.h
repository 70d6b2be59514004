#pragma once

#include <QLabel>
#include <QPointer>
#include <QWidget>

// One setlist row's cell: the song's title and its program change number.
class GigmoraSetlistTableCellView : public QWidget {
    Q_OBJECT
public:
    explicit GigmoraSetlistTableCellView(QWidget* parent = nullptr);
    QLabel* songTitleTextField() const { return songTitleTextField_; }
    QLabel* songProgChangeTextField() const { return songProgChangeTextField_; }

private:
    QPointer<QLabel> songTitleTextField_;
    QPointer<QLabel> songProgChangeTextField_;
};
