#include "app/EditView.h"

#include "ui_EditView.h"

EditView::EditView(QWidget* parent) : QWidget(parent), ui_(std::make_unique<Ui::EditView>()) {
    ui_->setupUi(this);
    setObjectName("editView");
    const std::pair<QPushButton*, Command> buttons[] = {
        {ui_->addSongButton, Command::AddSong},
        {ui_->deleteSongButton, Command::DeleteSong},
        {ui_->deleteAllSongsButton, Command::DeleteAllSongs},
        {ui_->newSetlistButton, Command::NewSetlist},
        {ui_->removeSetlistButton, Command::RemoveSetlist},
        {ui_->addSongToSetlistButton, Command::AddSongToSetlist},
        {ui_->removeFromSetlistButton, Command::RemoveFromSetlist},
        {ui_->deleteSongEverywhereButton, Command::DeleteSongEverywhere},
    };
    for (const auto& [button, command] : buttons)
        connect(button, &QPushButton::clicked, this,
                [this, command = command] { emit commandClicked(command); });
    connect(ui_->searchField, &QLineEdit::textChanged, this, &EditView::searchTextChanged);
}

EditView::~EditView() = default;

TableView* EditView::topListOfSetlistsTableView() const {
    return ui_->topListOfSetlistsTableView;
}

TableView* EditView::setlistTableView() const {
    return ui_->setlistTableView;
}

TableView* EditView::allSongsTableView() const {
    return ui_->allSongsTableView;
}

void EditView::setCommandsEnabled(bool enabled) {
    for (QPushButton* b : findChildren<QPushButton*>())
        b->setEnabled(enabled);
}
