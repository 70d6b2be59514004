#include "editing/TableIdentity.h"

#include "platform/TableView.h"

namespace {
bool named(const TableView* table, const char* name) {
    return table && table->autosaveName() == QLatin1String(name);
}
} // namespace

bool TableIdentity::isTopListOfSetlistsTableView(const TableView* table) {
    return named(table, kTopListOfSetlists);
}

bool TableIdentity::isSetlistTableView(const TableView* table) {
    return named(table, kSetlist);
}

bool TableIdentity::isAllSongsTableView(const TableView* table) {
    return named(table, kAllSongs);
}
