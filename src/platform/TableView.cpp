#include "platform/TableView.h"

#include "platform/EditingRegistry.h"
#include "platform/Guard.h"
#include "platform/RangeError.h"
#include "platform/TableDragSource.h"
#include "platform/TableDropTarget.h"
#include "platform/TableItemDelegate.h"
#include "platform/TableRowView.h"
#include "platform/TableViewDataSource.h"
#include "platform/TableViewModel.h"

#include <QApplication>
#include <QDropEvent>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QTimer>

TableView::TableView(QWidget* parent)
    : QTableView(parent), model_(new TableViewModel(this)),
      drags_(std::make_unique<TableDragSource>(*this)),
      drops_(std::make_unique<TableDropTarget>(*this)) {
    setModel(model_);
    connect(model_, &TableViewModel::callbacksEnded, this, [this] {
        if (reloadPending_) reloadData();
    });
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
            QList<int> rows;
            for (const QModelIndex& i : selectionModel()->selectedRows())
                rows << i.row();
            model_->rememberRows(rows);
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
    model_->addColumn(column);
    resetModel();
    QHeaderView* header = horizontalHeader();
    bool anyFixed = false;
    const QList<TableColumn>& columns = model_->columns();
    for (int i = 0; i < columns.size(); ++i) {
        const int width = columns[i].width;
        anyFixed |= width > 0;
        header->setSectionResizeMode(i, width > 0 ? QHeaderView::Fixed : QHeaderView::Stretch);
        if (width > 0) header->resizeSection(i, width);
    }
    header->setStretchLastSection(!anyFixed);
}

void TableView::addTableColumn(const QString& identifier, const QString& title, bool editable) {
    addTableColumn(TableColumn{identifier, title, editable});
}

const QList<TableColumn>& TableView::tableColumns() const {
    return model_->columns();
}

QStringList TableView::columnIdentifiers() const {
    QStringList ids;
    for (const auto& c : model_->columns())
        ids << c.identifier;
    return ids;
}

int TableView::columnWithIdentifier(const QString& identifier) const {
    return model_->columnWithIdentifier(identifier);
}

void TableView::setDataSource(TableViewDataSource* dataSource) {
    model_->setDataSource(dataSource);
    reloadData();
}

TableViewDataSource* TableView::dataSource() const {
    return model_->dataSource();
}

ArrangedContent* TableView::boundContent() const {
    return model_->content();
}

bool TableView::isBoundToSelection() const {
    return model_->content() && selectionBound_;
}

void TableView::bind(const QString& binding, ArrangedContent* content, const QString&) {
    if (binding == QLatin1String("content")) {
        if (ArrangedContent* old = model_->content()) disconnect(old, nullptr, this, nullptr);
        model_->setContent(content);
        connect(content, &ArrangedContent::arrangedObjectsChanged, this,
                [this] { guarded("content changed", [this] { reloadData(); }); });
        connect(content, &ArrangedContent::selectionChanged, this,
                [this] { guarded("selection changed", [this] { contentSelectionChanged(); }); });
        reloadData();
    } else if (binding == QLatin1String("selectionIndexes")) {
        selectionBound_ = content == model_->content();
        contentSelectionChanged();
    }
}

BindingInfo TableView::infoForBinding(const QString& binding) const {
    if (binding == QLatin1String("content") && model_->content())
        return {model_->content(), QStringLiteral("arrangedObjects")};
    if (binding == QLatin1String("selectionIndexes") && isBoundToSelection())
        return {model_->content(), QStringLiteral("selectionIndexes")};
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

bool TableView::selectRowIndexes(const IndexSet& rows, bool extendSelection) {
    // A negative row is no row at all and ends the caller's operation; rows past the end are
    // ignored, as an empty table's row 0 is.
    const qsizetype count = numberOfRows();
    IndexSet target;
    for (auto r : rows.indexes()) {
        if (r < 0) {
            endOperation(
                RangeError(QStringLiteral("-[TableView selectRowIndexes:byExtendingSelection:]: "
                                          "row %1 is not a row")
                               .arg(r)
                               .toStdString()));
            return false;
        }
        if (r < count) target.add(r);
    }
    if (extendSelection) {
        const IndexSet current = currentSelection(); // kept: the loop walks its list
        for (auto r : current.indexes())
            target.add(r);
    }
    applySelection(target);
    return true;
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
    if (!reloadPending_ || model_->insideCallback() || updatesDepth_ > 0 || edit_.isOpen()) return;
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
    if (isBoundToSelection()) {
        contentSelectionChanged();
        return;
    }
    const qsizetype count = model_->rowCount();
    if (model_->remembersRows()) {
        // The selection follows its records to their new rows, or ends with them.
        kept = model_->rememberedRows();
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

void TableView::scrollRowToVisible(qsizetype row, bool animate) {
    if (row < 0 || row >= numberOfRows()) return;
    if (!animate) {
        scrollTo(model_->index(static_cast<int>(row), 0), QAbstractItemView::EnsureVisible);
        return;
    }
    scroll_.scroll(verticalScrollBar(), rectOfRow(row), viewport()->height());
}

void TableView::moveRowAtIndex(qsizetype from, qsizetype to) {
    // The data has moved already; the selection follows the row it was on.
    IndexSet moved;
    const IndexSet selected = currentSelection(); // kept: the loop walks its list
    for (qsizetype s : selected.indexes()) {
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
        if (!isBoundToSelection()) applySelection(selection);
    }
}

void TableView::registerForDraggedTypes(const QStringList& types) {
    drops_->registerForDraggedTypes(types);
}

const QStringList& TableView::registeredDraggedTypes() const {
    return drops_->registeredDraggedTypes();
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

DataCell TableView::dataCellForTableColumn(const TableColumn& column, qsizetype row) {
    return delegate_ ? delegate_->dataCellForTableColumn(this, column, row) : DataCell{};
}

bool TableView::hasKeyFocus() const {
    return hasFocus() && window() && window()->isActiveWindow();
}

bool TableView::commitEditing() {
    if (!edit_.isOpen()) return true;
    QWidget* editor = edit_.editor();
    commitData(editor);
    closeEditor(editor, QAbstractItemDelegate::NoHint);
    return true;
}

void TableView::editorOpened(QWidget* editor, const QModelIndex& index) {
    edit_.opened(editor, index);
}

void TableView::commitData(QWidget* editor) {
    if (!edit_.owns(editor)) {
        QTableView::commitData(editor);
        return;
    }
    auto* cells = static_cast<TableItemDelegate*>(itemDelegate());
    edit_.take(editor, [cells](QWidget* e) { return cells->valueFrom(e); });
}

void TableView::closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) {
    const bool mine = edit_.owns(editor);
    const TableCellEdit::Ended ended = mine ? edit_.close() : TableCellEdit::Ended{};
    QTableView::closeEditor(editor, hint);
    if (!mine) return;
    guarded("controlTextDidEndEditing", [&] {
        if (ended.commit && ended.index.isValid())
            model_->setData(ended.index, ended.value, Qt::EditRole);
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
    drags_->press(event);
    QTableView::mousePressEvent(event);
}

void TableView::mouseMoveEvent(QMouseEvent* event) {
    if (!drags_->move(event)) QTableView::mouseMoveEvent(event);
}

void TableView::mouseReleaseEvent(QMouseEvent* event) {
    drags_->release();
    QTableView::mouseReleaseEvent(event);
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
    if (isBoundToSelection()) {
        syncing_ = true;
        model_->content()->setSelectionIndexes(currentSelection());
        syncing_ = false;
    }
    emit selectionDidChange();
}

void TableView::contentSelectionChanged() {
    if (!isBoundToSelection() || syncing_) return;
    syncing_ = true;
    applySelection(model_->content()->selectionIndexes());
    syncing_ = false;
    emit selectionDidChange();
}
