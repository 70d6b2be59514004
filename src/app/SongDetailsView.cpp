#include "app/SongDetailsView.h"

#include "platform/EditingRegistry.h"
#include "platform/FontFaces.h"
#include "platform/Guard.h"
#include "platform/RangeValidator.h"
#include "ui_SongDetailsView.h"

#include <QSignalBlocker>

SongDetailsView::SongDetailsView(QWidget* parent)
    : QWidget(parent), ui_(std::make_unique<Ui::SongDetailsView>()) {
    ui_->setupUi(this);
    setObjectName("songDetailsView");
    setAutoFillBackground(true); // opaque over the edit screen
    ui_->songDeetsAllSessions->setFont(FontFaces::font("Dosis-Regular", 12));
    ui_->midiMessageTableView->setAccessibleName("MIDI messages");
    connect(ui_->midiEnableCheckBox, &QCheckBox::clicked, this, &SongDetailsView::midiOutToggled);
    connect(ui_->midiMessageType, &QComboBox::activated, this, &SongDetailsView::messageTypeChosen);
    connect(ui_->midiChannel, &QComboBox::activated, this,
            [this](int index) { emit channelChosen(index + 1); });
    connect(ui_->addMidiMessageButton, &QPushButton::clicked, this,
            &SongDetailsView::addMessageClicked);
    connect(ui_->removeMidiMessageButton, &QPushButton::clicked, this,
            &SongDetailsView::removeMessageClicked);
    for (QLineEdit* field : {ui_->progCcNumberTextField, ui_->ccValueTextField}) {
        field->setValidator(new RangeValidator(0, 127, field));
        connect(field, &QLineEdit::editingFinished, this, [this, field] { commit(field); });
        // A save or a quit commits the typing first, as it does a table's cell.
        EditingRegistry::add(field, [this, field] {
            commit(field);
            return true;
        });
        connect(field, &QObject::destroyed, field, [field] { EditingRegistry::remove(field); });
    }
}

SongDetailsView::~SongDetailsView() = default;

TableView* SongDetailsView::songPicker() const {
    return ui_->allSongsDetailView;
}

TableView* SongDetailsView::messageTable() const {
    return ui_->midiMessageTableView;
}

void SongDetailsView::commit(QLineEdit* field) {
    // Once: the field's later end of editing has nothing left to hand on.
    if (!field->isModified() || !field->hasAcceptableInput()) return;
    field->setModified(false);
    const int number = field->text().toInt();
    guarded("songDetailsNumber", [&] {
        if (field == ui_->progCcNumberTextField)
            emit numberCommitted(number);
        else
            emit valueCommitted(number);
    });
}

void SongDetailsView::showMidiOut(const MidiOut& s) {
    {
        const QSignalBlocker a(ui_->midiEnableCheckBox), b(ui_->midiMessageType),
            c(ui_->midiChannel);
        ui_->midiEnableCheckBox->setChecked(s.enabled);
        ui_->midiMessageType->setCurrentIndex(
            s.messageType >= 0 && s.messageType < 2 ? s.messageType : 0);
        ui_->midiChannel->setCurrentIndex(s.channel >= 1 && s.channel <= 16 ? s.channel - 1 : 0);
        ui_->progCcNumberTextField->setText(s.number);
        ui_->ccValueTextField->setText(s.value);
    }
    ui_->midiEnableCheckBox->setEnabled(s.picked);
    setMidiOutControlsEnabled(s.enabled);
}

void SongDetailsView::setMidiOutControlsEnabled(bool enabled) {
    for (QWidget* control :
         std::initializer_list<QWidget*>{ui_->midiMessageType, ui_->midiChannel,
                                         ui_->progCcNumberTextField, ui_->ccValueTextField})
        control->setEnabled(enabled);
}
