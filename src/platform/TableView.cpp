#include "platform/TableView.h"

#include "platform/Guard.h"
#include "platform/RangeError.h"
#include "platform/TableViewModel.h"

#include <QHeaderView>
#include <QItemSelectionModel>

TableView::TableView(QWidget* parent) : QTableView(parent), model_(new TableViewModel(this)) {
    setModel(model_);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    verticalHeader()->hide();
    horizontalHeader()->setStretchLastSection(true);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        guarded("tableViewSelectionDidChange", [this] { tableSelectionChanged(); });
    });
}

TableView::~TableView() = default;

void TableView::addTableColumn(const QString& identifier, const QString& title, bool editable) {
    columns_ << identifier;
    titles_ << title;
    editable_ << editable;
    model_->reset();
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
    return model_->rowCount();
}

IndexSet TableView::selectedRowIndexes() const {
    IndexSet rows;
    for (const QModelIndex& i : selectionModel()->selectedRows())
        rows.add(i.row());
    return rows;
}

qsizetype TableView::selectedRow() const {
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
    if (extendSelection) {
        const IndexSet current = selectedRowIndexes();
        for (auto r : current.indexes())
            target.add(r);
    }
    applySelection(target);
}

void TableView::deselectAll() {
    selectionModel()->clearSelection();
}

void TableView::reloadData() {
    const IndexSet kept = selectedRowIndexes();
    syncing_ = true;
    model_->reset();
    syncing_ = false;
    if (content_ && selectionBound_) {
        contentSelectionChanged();
        return;
    }
    // The selection stays on the same rows as far as they still exist.
    IndexSet rows;
    const qsizetype count = numberOfRows();
    for (auto r : kept.indexes())
        if (r < count) rows.add(r);
    syncing_ = true;
    applySelection(rows);
    syncing_ = false;
}

void TableView::scrollRowToVisible(qsizetype row) {
    if (row >= 0 && row < numberOfRows())
        scrollTo(model_->index(static_cast<int>(row), 0), QAbstractItemView::EnsureVisible);
}

void TableView::tableSelectionChanged() {
    if (syncing_) return;
    if (content_ && selectionBound_) {
        syncing_ = true;
        content_->setSelectionIndexes(selectedRowIndexes());
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
