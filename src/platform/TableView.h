#pragma once

#include "platform/ArrangedContent.h"
#include "platform/DragOperation.h"
#include "platform/IndexSet.h"
#include "platform/RowScrollAnimation.h"
#include "platform/TableCellEdit.h"
#include "platform/TableColumn.h"
#include "platform/TableViewDelegate.h"
#include "platform/TableViewModel.h"

#include <QMenu>
#include <QPointer>
#include <QTableView>
#include <memory>

class QPropertyAnimation;
class TableDragSource;
class TableDropTarget;
class TableViewDataSource;

// A table in the terms the controllers use: column objects, rows from a data source or bound
// to arranged content (with its selection), a delegate for selection, drags, drops, row views
// and cells, selectedRow, selectRowIndexes, reloadData, scrollRowToVisible and an autosave
// name that tells the tables apart. Qt's item model behind it is never seen by controllers.
class TableView : public QTableView {
    Q_OBJECT
public:
    struct SortDescriptor {
        QString key;
        bool ascending = true;
        bool operator==(const SortDescriptor&) const = default;
    };

    explicit TableView(QWidget* parent = nullptr);
    ~TableView() override;

    // Also the accessible name, until a better one is given.
    void setAutosaveName(const QString& name);
    const QString& autosaveName() const { return autosaveName_; }

    void addTableColumn(const TableColumn& column);
    void addTableColumn(const QString& identifier, const QString& title, bool editable = false);
    const QList<TableColumn>& tableColumns() const;
    QStringList columnIdentifiers() const;
    int columnWithIdentifier(const QString& identifier) const;

    void setDataSource(TableViewDataSource* dataSource);
    TableViewDataSource* dataSource() const;
    void setDelegate(TableViewDelegate* delegate) { delegate_ = delegate; }
    TableViewDelegate* delegate() const { return delegate_; }
    // "content" to arranged objects, "selectionIndexes" to their selection.
    void bind(const QString& binding, ArrangedContent* content, const QString& keyPath);
    BindingInfo infoForBinding(const QString& binding) const;
    ArrangedContent* boundContent() const;

    qsizetype numberOfRows();
    qsizetype selectedRow(); // -1 without a selection
    IndexSet selectedRowIndexes();
    // A negative row ends the caller's operation (the range error is logged) and gives false;
    // rows past the end are ignored.
    bool selectRowIndexes(const IndexSet& rows, bool extendSelection);
    void deselectAll();
    void setAllowsMultipleSelection(bool allows);
    QRect rectOfRow(qsizetype row) const; // viewport coordinates, the table's whole width

    // Takes the row count when it runs; asked for inside the table's own callbacks, or
    // several times in one turn, it runs once, afterwards.
    void reloadData();
    void scrollRowToVisible(qsizetype row, bool animate = false);
    QPropertyAnimation* scrollAnimation() const { return scroll_.animation(); }
    void setNeedsDisplay() { viewport()->update(); }
    void beginUpdates() { ++updatesDepth_; }
    void moveRowAtIndex(qsizetype from, qsizetype to);
    void endUpdates();

    void setSortDescriptors(const QList<SortDescriptor>& descriptors) {
        sortDescriptors_ = descriptors;
    }
    const QList<SortDescriptor>& sortDescriptors() const { return sortDescriptors_; }

    void registerForDraggedTypes(const QStringList& types);
    const QStringList& registeredDraggedTypes() const;
    void setDraggingSourceOperationMask(uint32_t mask, bool local) {
        (local ? localMask_ : remoteMask_) = mask;
    }
    uint32_t draggingSourceOperationMask(bool local) const {
        return local ? localMask_ : remoteMask_;
    }
    // Retargets the drop being validated.
    void setDropRow(qsizetype row, DropOperation operation);
    qsizetype dropRow() const;
    DropOperation dropOperation() const;

    void setMenu(QMenu* menu) { menu_ = menu; }
    QMenu* menu() const { return menu_; }
    // The context menu for a right click; none shows nothing.
    virtual QMenu* menuForEvent(QContextMenuEvent*) { return menu_; }
    virtual DataCell dataCellForTableColumn(const TableColumn& column, qsizetype row);
    // Whether Qt paints its own selection highlight; off where rows draw their own.
    void setPaintsSelection(bool paints);
    bool paintsSelection() const { return paintsSelection_; }
    // Space kept free at both ends of every row, so cells sit inside a row's rounded ends.
    int cellInset() const { return cellInset_; }
    void setCellInset(int pixels) { cellInset_ = pixels; }
    // The table is the focus of the active window.
    bool hasKeyFocus() const;
    // Commits an open cell editor; false when the edit was refused.
    bool commitEditing();
    bool isEditing() const { return edit_.isOpen(); }
    // The cell delegate's word that an editor has opened on `index`.
    void editorOpened(QWidget* editor, const QModelIndex& index);
    // Marks one of the table's own callbacks: a reload asked for meanwhile waits for its end.
    using Callback = TableViewModel::Callback;
    const TableViewModel* tableModel() const { return model_; }

signals:
    void selectionDidChange();

protected:
    // Draws row `row` (rectangle `rowRect`) behind its cells; by default its row view does.
    virtual void drawRow(QPainter& painter, qsizetype row, const QRect& rowRect, const QRect& clip);
    // An edit of a cell has ended, committed or not.
    virtual void textDidEndEditing() {}

    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                         const QEvent* event) const override;
    void commitData(QWidget* editor) override;
    void closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) override;

private:
    void flushReload();
    bool isBoundToSelection() const;
    IndexSet currentSelection() const; // as Qt has it now, without a pending reload
    void resetModel();
    void tableSelectionChanged();
    void contentSelectionChanged();
    void applySelection(const IndexSet& rows);

    QString autosaveName_;
    TableViewDelegate* delegate_ = nullptr;
    bool selectionBound_ = false;
    bool syncing_ = false;
    TableViewModel* model_;
    bool reloadPending_ = false;
    bool reloadScheduled_ = false;
    int updatesDepth_ = 0;
    RowScrollAnimation scroll_{this};
    QList<SortDescriptor> sortDescriptors_;
    uint32_t localMask_ = DragOperationEvery;
    uint32_t remoteMask_ = DragOperationCopy;
    std::unique_ptr<TableDragSource> drags_;
    std::unique_ptr<TableDropTarget> drops_;
    QPointer<QMenu> menu_;
    bool paintsSelection_ = true;
    int cellInset_ = 0;
    TableCellEdit edit_;
};
