#pragma once

class TableView;

// The edit screen's three tables, told apart by their autosave names.
class TableIdentity {
public:
    static constexpr const char* kTopListOfSetlists = "topListOfSetlistsTableView";
    static constexpr const char* kSetlist = "setlistTableView";
    static constexpr const char* kAllSongs = "allSongsTableView";

    static bool isTopListOfSetlistsTableView(const TableView* table);
    static bool isSetlistTableView(const TableView* table);
    static bool isAllSongsTableView(const TableView* table);
};
