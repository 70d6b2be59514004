#pragma once

#include "platform/ArrangedContent.h"
#include "platform/IndexSet.h"

#include <QPointer>
#include <QTableView>

class TableViewDataSource;
class TableViewModel;

// A table in the terms the controllers use: column identifiers, rows from a data source or
// bound to arranged content (with its selection), selectedRow, selectRowIndexes, reloadData,
// scrollRowToVisible and an autosave name that tells the tables apart.
class TableView : public QTableView {
    Q_OBJECT
public:
    explicit TableView(QWidget* parent = nullptr);
    ~TableView() override;

    void setAutosaveName(const QString& name) { autosaveName_ = name; }
    const QString& autosaveName() const { return autosaveName_; }
    void addTableColumn(const QString& identifier, const QString& title, bool editable = false);
    const QStringList& columnIdentifiers() const { return columns_; }
    QString columnTitle(int column) const { return titles_.value(column); }
    bool isColumnEditable(int column) const { return editable_.value(column); }

    void setDataSource(TableViewDataSource* dataSource);
    TableViewDataSource* dataSource() const { return dataSource_; }
    // "content" to arranged objects, "selectionIndexes" to their selection.
    void bind(const QString& binding, ArrangedContent* content, const QString& keyPath);
    BindingInfo infoForBinding(const QString& binding) const;
    ArrangedContent* boundContent() const { return content_; }

    qsizetype numberOfRows();
    qsizetype selectedRow() const; // -1 without a selection
    IndexSet selectedRowIndexes() const;
    // A negative row throws RangeError; rows past the end are ignored.
    void selectRowIndexes(const IndexSet& rows, bool extendSelection);
    void deselectAll();
    void reloadData();
    void scrollRowToVisible(qsizetype row);
    void setNeedsDisplay() { viewport()->update(); }

signals:
    void selectionDidChange();

private:
    friend class TableViewModel;
    void tableSelectionChanged();
    void contentSelectionChanged();
    void applySelection(const IndexSet& rows);

    QString autosaveName_;
    QStringList columns_;
    QStringList titles_;
    QList<bool> editable_;
    TableViewDataSource* dataSource_ = nullptr;
    QPointer<ArrangedContent> content_;
    bool selectionBound_ = false;
    bool syncing_ = false;
    TableViewModel* model_;
};
