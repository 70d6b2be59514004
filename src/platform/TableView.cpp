#include "platform/TableView.h"

#include "platform/DragActions.h"
#include "platform/EditingRegistry.h"
#include "platform/Guard.h"
#include "platform/Pasteboard.h"
#include "platform/RangeError.h"
#include "platform/TableDropTarget.h"
#include "platform/TableItemDelegate.h"
#include "platform/TableRowView.h"
#include "platform/TableViewDataSource.h"
#include "platform/TableViewModel.h"

#include <QApplication>
#include <QDrag>
#include <QDropEvent>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QPropertyAnimation>
#include <QScrollBar>
#include <QTimer>
#include <cmath>

TableView::Callback::Callback(const TableView* t) : table(const_cast<TableView*>(t)) {
    ++table->callbackDepth_;
}

TableView::Callback::~Callback() {
    if (--table->callbackDepth_ == 0 && table->reloadPending_) table->reloadData();
}

TableView::TableView(QWidget* parent)
    : QTableView(parent), model_(new TableViewModel(this)),
      drops_(std::make_unique<TableDropTarget>(*this)) {
    setModel(model_);
    setItemDelegate(new TableItemDelegate(this));
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setDropIndicatorShown(false); // the table paints its own, for the retargeted row
    verticalHeader()->hide();
    horizontalHeader()->setStretchLastSection(true);
    // One line a row, as a desktop table has; long titles are elided instead.
    setWordWrap(false);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        guarded("tableViewSelectionDidChange", [this] {
            rememberSelectedIdentities();
            tableSelectionChanged();
        });
    });
    EditingRegistry::add(this, [this] { return commitEditing(); });
}

TableView::~TableView() {
    EditingRegistry::remove(this);
}

void TableView::setAutosaveName(const QString& name) {
    autosaveName_ = name;
    if (accessibleName().isEmpty()) setAccessibleName(name);
}

void TableView::addTableColumn(const TableColumn& column) {
    columns_ << column;
    resetModel();
    QHeaderView* header = horizontalHeader();
    bool anyFixed = false;
    for (int i = 0; i < columns_.size(); ++i) {
        const int width = columns_[i].width;
        anyFixed |= width > 0;
        header->setSectionResizeMode(i, width > 0 ? QHeaderView::Fixed : QHeaderView::Stretch);
        if (width > 0) header->resizeSection(i, width);
    }
    header->setStretchLastSection(!anyFixed);
}

void TableView::addTableColumn(const QString& identifier, const QString& title, bool editable) {
    addTableColumn(TableColumn{identifier, title, editable});
}

QStringList TableView::columnIdentifiers() const {
    QStringList ids;
    for (const auto& c : columns_)
        ids << c.identifier;
    return ids;
}

int TableView::columnWithIdentifier(const QString& identifier) const {
    for (int i = 0; i < columns_.size(); ++i)
        if (columns_[i].identifier == identifier) return i;
    return -1;
}

void TableView::setDataSource(TableViewDataSource* dataSource) {
    dataSource_ = dataSource;
    reloadData();
}

void TableView::bind(const QString& binding, ArrangedContent* content, const QString&) {
    if (binding == QLatin1String("content")) {
        if (content_) disconnect(content_, nullptr, this, nullptr);
        content_ = content;
        connect(content, &ArrangedContent::arrangedObjectsChanged, this,
                [this] { guarded("content changed", [this] { reloadData(); }); });
        connect(content, &ArrangedContent::selectionChanged, this,
                [this] { guarded("selection changed", [this] { contentSelectionChanged(); }); });
        reloadData();
    } else if (binding == QLatin1String("selectionIndexes")) {
        selectionBound_ = content == content_;
        contentSelectionChanged();
    }
}

BindingInfo TableView::infoForBinding(const QString& binding) const {
    if (binding == QLatin1String("content") && content_)
        return {content_.data(), QStringLiteral("arrangedObjects")};
    if (binding == QLatin1String("selectionIndexes") && content_ && selectionBound_)
        return {content_.data(), QStringLiteral("selectionIndexes")};
    return {};
}

qsizetype TableView::numberOfRows() {
    flushReload();
    return model_->rowCount();
}

IndexSet TableView::selectedRowIndexes() {
    flushReload();
    return currentSelection();
}

IndexSet TableView::currentSelection() const {
    std::vector<qsizetype> rows;
    for (const QModelIndex& i : selectionModel()->selectedRows())
        rows.push_back(i.row());
    return IndexSet::fromIndexes(std::move(rows));
}

qsizetype TableView::selectedRow() {
    return selectedRowIndexes().last();
}

void TableView::applySelection(const IndexSet& rows) {
    QItemSelection selection;
    const int columns = std::max(1, model_->columnCount());
    for (auto r : rows.indexes())
        selection.select(model_->index(static_cast<int>(r), 0),
                         model_->index(static_cast<int>(r), columns - 1));
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    if (!rows.isEmpty())
        selectionModel()->setCurrentIndex(model_->index(static_cast<int>(rows.last()), 0),
                                          QItemSelectionModel::NoUpdate);
}

void TableView::selectRowIndexes(const IndexSet& rows, bool extendSelection) {
    // A negative row is no row at all and fails; rows past the end are ignored, as an empty
    // table's row 0 is.
    const qsizetype count = numberOfRows();
    IndexSet target;
    for (auto r : rows.indexes()) {
        if (r < 0)
            throw RangeError(QStringLiteral("-[TableView selectRowIndexes:byExtendingSelection:]: "
                                            "row %1 is not a row")
                                 .arg(r)
                                 .toStdString());
        if (r < count) target.add(r);
    }
    if (extendSelection)
        for (auto r : currentSelection().indexes())
            target.add(r);
    applySelection(target);
}

void TableView::deselectAll() {
    selectionModel()->clearSelection();
}

void TableView::setAllowsMultipleSelection(bool allows) {
    setSelectionMode(allows ? QAbstractItemView::ExtendedSelection
                            : QAbstractItemView::SingleSelection);
}

QRect TableView::rectOfRow(qsizetype row) const {
    const int width = std::max(viewport()->width(), horizontalHeader()->length());
    return {-horizontalOffset(), rowViewportPosition(int(row)), width, rowHeight(int(row))};
}

void TableView::reloadData() {
    reloadPending_ = true;
    if (reloadScheduled_) return;
    reloadScheduled_ = true;
    QTimer::singleShot(0, this, [this] {
        reloadScheduled_ = false;
        guarded("reloadData", [this] { flushReload(); });
    });
}

void TableView::flushReload() {
    // Inside its own callbacks the table waits; the callback's end asks again. An open cell
    // editor is never thrown away by a reload: it waits for the edit to end.
    if (!reloadPending_ || callbackDepth_ > 0 || updatesDepth_ > 0 || editor_) return;
    reloadPending_ = false;
    resetModel();
}

void TableView::resetModel() {
    std::vector<qsizetype> kept;
    for (const QModelIndex& i : selectionModel()->selectedRows())
        kept.push_back(i.row());
    const IndexSet before = IndexSet::fromIndexes(kept);
    syncing_ = true;
    model_->reset();
    syncing_ = false;
    if (content_ && selectionBound_) {
        contentSelectionChanged();
        return;
    }
    const qsizetype count = model_->rowCount();
    if (!selectedIdentities_.isEmpty()) {
        // The selection follows its records to their new rows, or ends with them.
        kept = rowsWithRememberedIdentities(count);
    } else {
        // Rows without identities keep their numbers as far as they still exist.
        std::erase_if(kept, [&](qsizetype r) { return r >= count; });
    }
    const IndexSet after = IndexSet::fromIndexes(std::move(kept));
    syncing_ = true;
    applySelection(after);
    syncing_ = false;
    if (after.indexes() != before.indexes()) emit selectionDidChange();
}

QVariant TableView::rowIdentity(qsizetype row) {
    QVariant id;
    if (dataSource_)
        guarded("rowIdentity", [&] {
            Callback inside(this);
            id = dataSource_->rowIdentity(this, row);
        });
    return id;
}

void TableView::rememberSelectedIdentities() {
    selectedIdentities_.clear();
    if (!dataSource_) return;
    for (const QModelIndex& i : selectionModel()->selectedRows()) {
        const QVariant id = rowIdentity(i.row());
        if (!id.isValid()) {
            selectedIdentities_.clear();
            return;
        }
        selectedIdentities_ << id;
    }
}

std::vector<qsizetype> TableView::rowsWithRememberedIdentities(qsizetype count) {
    std::vector<qsizetype> rows;
    QList<QVariant> wanted = selectedIdentities_;
    for (qsizetype r = 0; r < count && !wanted.isEmpty(); ++r)
        if (wanted.removeOne(rowIdentity(r))) rows.push_back(r);
    return rows;
}

void TableView::scrollRowToVisible(qsizetype row, bool animate) {
    if (row < 0 || row >= numberOfRows()) return;
    if (!animate) {
        scrollTo(model_->index(static_cast<int>(row), 0), QAbstractItemView::EnsureVisible);
        return;
    }
    QScrollBar* bar = verticalScrollBar();
    const QRect r = rectOfRow(row);
    // The row's top, lowered by half of what the row is taller than the clip view (never
    // raised): an ordinary row comes to the top edge.
    const int top = r.top() + bar->value();
    const double excess = std::round((r.height() - viewport()->height()) * 0.5);
    const int target = std::clamp(top + std::max(0, int(excess)), bar->minimum(), bar->maximum());
    if (!scrollAnimation_) scrollAnimation_ = new QPropertyAnimation(this);
    scrollAnimation_->stop();
    scrollAnimation_->setTargetObject(bar);
    scrollAnimation_->setPropertyName("value");
    scrollAnimation_->setDuration(250);
    scrollAnimation_->setStartValue(bar->value());
    scrollAnimation_->setEndValue(target);
    scrollAnimation_->start();
}

void TableView::beginUpdates() {
    ++updatesDepth_;
}

void TableView::moveRowAtIndex(qsizetype from, qsizetype to) {
    // The data has moved already; the selection follows the row it was on.
    IndexSet moved;
    for (qsizetype s : currentSelection().indexes()) {
        qsizetype r = s;
        if (s == from)
            r = to;
        else if (from < s && s <= to)
            r = s - 1;
        else if (to <= s && s < from)
            r = s + 1;
        moved.add(r);
    }
    reloadPending_ = true;
    applySelection(moved);
}

void TableView::endUpdates() {
    if (updatesDepth_ > 0 && --updatesDepth_ == 0 && reloadPending_) {
        const IndexSet selection = currentSelection();
        flushReload();
        if (!(content_ && selectionBound_)) applySelection(selection);
    }
}

void TableView::setSortDescriptors(const QList<SortDescriptor>& descriptors) {
    sortDescriptors_ = descriptors;
}

void TableView::registerForDraggedTypes(const QStringList& types) {
    drops_->registerForDraggedTypes(types);
}

const QStringList& TableView::registeredDraggedTypes() const {
    return drops_->registeredDraggedTypes();
}

void TableView::setDraggingSourceOperationMask(uint32_t mask, bool local) {
    (local ? localMask_ : remoteMask_) = mask;
}

void TableView::setDropRow(qsizetype row, DropOperation operation) {
    drops_->setDropRow(row, operation);
}

qsizetype TableView::dropRow() const {
    return drops_->dropRow();
}

DropOperation TableView::dropOperation() const {
    return drops_->dropOperation();
}

void TableView::setPaintsSelection(bool paints) {
    paintsSelection_ = paints;
    // Qt paints a selected row's panel with the highlight before any cell: none where the
    // table draws its own.
    QPalette p = palette();
    const QPalette standard = QApplication::palette(this);
    p.setBrush(QPalette::Highlight, paints ? standard.highlight() : QBrush(Qt::transparent));
    p.setBrush(QPalette::HighlightedText, paints ? standard.highlightedText() : p.text());
    setPalette(p);
}

void TableView::setMenu(QMenu* menu) {
    menu_ = menu;
}

QMenu* TableView::menu() const {
    return menu_;
}

QMenu* TableView::menuForEvent(QContextMenuEvent*) {
    return menu_;
}

DataCell TableView::dataCellForTableColumn(const TableColumn& column, qsizetype row) {
    return delegate_ ? delegate_->dataCellForTableColumn(this, column, row) : DataCell{};
}

bool TableView::hasKeyFocus() const {
    return hasFocus() && window() && window()->isActiveWindow();
}

bool TableView::commitEditing() {
    if (!editor_) return true;
    QWidget* editor = editor_;
    commitData(editor);
    closeEditor(editor, QAbstractItemDelegate::NoHint);
    return true;
}

void TableView::editorOpened(QWidget* editor, const QModelIndex& index) {
    editor_ = editor;
    editingIndex_ = index;
    hasPendingValue_ = false;
}

void TableView::commitData(QWidget* editor) {
    if (editor != editor_) {
        QTableView::commitData(editor);
        return;
    }
    // Whatever ends the edit (Return, a click elsewhere, a save, a quit), text that Return
    // would refuse is dropped and the cell keeps its value.
    if (auto* field = qobject_cast<QLineEdit*>(editor); field && field->validator()) {
        if (!field->hasAcceptableInput()) {
            QString text = field->text();
            field->validator()->fixup(text);
            field->setText(text);
        }
        if (!field->hasAcceptableInput()) {
            hasPendingValue_ = false;
            return;
        }
    }
    // Kept until the editor is closed: the data source may show an alert about the value.
    auto* cells = static_cast<TableItemDelegate*>(itemDelegate());
    pendingValue_ = cells->valueFrom(editor);
    hasPendingValue_ = true;
}

void TableView::closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) {
    const bool mine = editor == editor_;
    const QPersistentModelIndex index = editingIndex_;
    const QVariant value = pendingValue_;
    const bool commit = mine && hasPendingValue_;
    if (mine) {
        editor_ = nullptr;
        hasPendingValue_ = false;
    }
    QTableView::closeEditor(editor, hint);
    if (!mine) return;
    guarded("controlTextDidEndEditing", [&] {
        if (commit && index.isValid()) model_->setData(index, value, Qt::EditRole);
        textDidEndEditing();
    });
    if (reloadPending_) reloadData(); // what waited for the edit
}

void TableView::drawRow(QPainter& painter, qsizetype row, const QRect& rowRect, const QRect& clip) {
    if (!delegate_) return;
    if (TableRowView* view = delegate_->rowViewForRow(this, row))
        view->drawRect(painter, rowRect, clip, selectionModel()->isRowSelected(int(row), {}),
                       hasKeyFocus());
}

void TableView::paintEvent(QPaintEvent* event) {
    flushReload();
    const qsizetype count = model_->rowCount();
    if (count > 0) {
        QPainter painter(viewport());
        const QRect clip = event->rect();
        qsizetype first = rowAt(clip.top());
        qsizetype last = rowAt(clip.bottom());
        if (first < 0) first = 0;
        if (last < 0) last = count - 1;
        for (qsizetype row = first; row <= last; ++row)
            guarded("drawRow", [&] { drawRow(painter, row, rectOfRow(row), clip); });
    }
    QTableView::paintEvent(event);
    QPainter painter(viewport());
    drops_->paintIndicator(painter, count);
}

QItemSelectionModel::SelectionFlags TableView::selectionCommand(const QModelIndex& index,
                                                                const QEvent* event) const {
    if (index.isValid() && delegate_) {
        bool allowed = true;
        guarded("shouldSelectRow", [&] {
            allowed = delegate_->shouldSelectRow(const_cast<TableView*>(this), index.row());
        });
        if (!allowed) return QItemSelectionModel::NoUpdate;
    }
    return QTableView::selectionCommand(index, event);
}

void TableView::mousePressEvent(QMouseEvent* event) {
    pressPoint_ = event->position().toPoint();
    pressRow_ = event->button() == Qt::LeftButton ? rowAt(pressPoint_.y()) : -1;
    QTableView::mousePressEvent(event);
}

void TableView::mouseMoveEvent(QMouseEvent* event) {
    const bool dragging = (event->buttons() & Qt::LeftButton) && pressRow_ >= 0 && delegate_ &&
                          !editor_ &&
                          (event->position().toPoint() - pressPoint_).manhattanLength() >=
                              QApplication::startDragDistance();
    if (!dragging) {
        QTableView::mouseMoveEvent(event);
        return;
    }
    guarded("dragging rows", [&] { startRowDrag(pressPoint_); });
    pressRow_ = -1;
}

void TableView::mouseReleaseEvent(QMouseEvent* event) {
    pressRow_ = -1;
    QTableView::mouseReleaseEvent(event);
}

void TableView::startRowDrag(const QPoint& at) {
    // From the row under the pointer, selected or not; with it the rest of a selection it
    // belongs to.
    const IndexSet selected = currentSelection();
    const IndexSet rows = selected.contains(pressRow_) ? selected : IndexSet{pressRow_};
    Pasteboard pasteboard;
    if (!delegate_->writeRowsWithIndexes(this, rows, pasteboard)) return;
    auto* drag = new QDrag(this); // deleted by Qt when the drag ends
    drag->setMimeData(pasteboard.takeMimeData());
    delegate_->draggingSessionWillBeginAtPoint(this, at, rows);
    // The rows stay where they are whatever the drop did: moving them is the controller's.
    const Qt::DropAction done = drag->exec(DragActions::actionsFor(localMask_), Qt::CopyAction);
    delegate_->draggingSessionEndedAtPoint(this, viewport()->mapFromGlobal(QCursor::pos()),
                                           DragActions::maskFor(done));
}

void TableView::dragEnterEvent(QDragEnterEvent* event) {
    drops_->dragEnter(event);
}

void TableView::dragMoveEvent(QDragMoveEvent* event) {
    drops_->dragMove(event);
}

void TableView::dragLeaveEvent(QDragLeaveEvent*) {
    drops_->dragLeave();
}

void TableView::dropEvent(QDropEvent* event) {
    drops_->drop(event);
}

void TableView::contextMenuEvent(QContextMenuEvent* event) {
    QMenu* menu = nullptr;
    guarded("menuForEvent", [&] { menu = menuForEvent(event); });
    if (menu) menu->popup(event->globalPos());
}

void TableView::tableSelectionChanged() {
    if (syncing_) return;
    if (content_ && selectionBound_) {
        syncing_ = true;
        content_->setSelectionIndexes(currentSelection());
        syncing_ = false;
    }
    emit selectionDidChange();
}

void TableView::contentSelectionChanged() {
    if (!content_ || !selectionBound_ || syncing_) return;
    syncing_ = true;
    applySelection(content_->selectionIndexes());
    syncing_ = false;
    emit selectionDidChange();
}
