#pragma once

#include <QWidget>
#include <memory>

class TableView;
namespace Ui {
class EditView;
}

// The edit screen: the list of setlists, the selected setlist's songs and the song list with
// its search field, each with its command buttons. Controllers serve the tables; a button
// only says which command it stands for.
class EditView : public QWidget {
    Q_OBJECT
public:
    enum class Command {
        AddSong,
        DeleteSong,
        DeleteAllSongs,
        NewSetlist,
        RemoveSetlist,
        AddSongToSetlist,
        RemoveFromSetlist,
        DeleteSongEverywhere,
    };

    explicit EditView(QWidget* parent = nullptr);
    ~EditView() override;

    TableView* topListOfSetlistsTableView() const;
    TableView* setlistTableView() const;
    TableView* allSongsTableView() const;
    void setCommandsEnabled(bool enabled);

signals:
    void commandClicked(EditView::Command command);
    void searchTextChanged(const QString& text);

private:
    std::unique_ptr<Ui::EditView> ui_;
};
