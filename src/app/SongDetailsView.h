#pragma once

#include <QWidget>
#include <memory>

class QLineEdit;
class TableView;
namespace Ui {
class SongDetailsView;
}

// Song details: the song picker, the picked song's MIDI out settings and its message table
// with the add and remove commands. A number typed into a field is handed on once, when its
// editing ends or when a save or a quit commits every open edit first.
class SongDetailsView : public QWidget {
    Q_OBJECT
public:
    // The picked song's MIDI out settings as the controls show them.
    struct MidiOut {
        bool picked = false;
        bool enabled = false;
        int messageType = 0; // 0 program change, 1 control change
        int channel = 1;     // 1 to 16
        QString number, value;
    };

    explicit SongDetailsView(QWidget* parent = nullptr);
    ~SongDetailsView() override;

    TableView* songPicker() const;
    TableView* messageTable() const;
    void showMidiOut(const MidiOut& settings);
    // The kind, channel, number and value, on or off together with the MIDI out switch.
    void setMidiOutControlsEnabled(bool enabled);

signals:
    void midiOutToggled(bool on);
    void messageTypeChosen(int type);
    void channelChosen(int channel);
    void numberCommitted(int number);
    void valueCommitted(int value);
    void addMessageClicked();
    void removeMessageClicked();

private:
    void commit(QLineEdit* field);

    std::unique_ptr<Ui::SongDetailsView> ui_;
};
