#pragma once

#include <QObject>
#include <QPointer>
#include <QRect>
#include <QVariant>
#include <functional>
#include <optional>

class ArrayController;
class DawControl;
class ManagedObject;
class MainMidi;
class ObjectContext;
class StagePosition;
class Prefs;
class TableView;
class QWidget;

// Calling up songs on stage: the next or previous song of the current setlist, the song with
// a given number, or the selected one. The DAW is told to close its project at once and the
// new project is opened after the DAW delay, by a timer, never by waiting.
class SongRecall : public QObject {
    Q_OBJECT
public:
    static inline const QString kApplication = QStringLiteral("Logic Pro X.app");
    static inline const QString kBlank = QStringLiteral("blank");

    struct Dependencies {
        TableView* setlistTableView = nullptr; // the current setlist's table
        StagePosition* position = nullptr;     // the stage's row in it, moved only there
        TableView* aSongsTableView = nullptr;  // the song list
        QObject* notificationSender = nullptr;
        MainMidi* mainMidiObject = nullptr;
        Prefs* sharedPrefs = nullptr;
        ObjectContext* context = nullptr;
        // The song list's rows: every project once, in the list's order.
        std::function<QList<ManagedObject*>()> returnFilteredArray;
        QWidget* window = nullptr; // redisplayed after a step back, and positioned
        // With a session manager, the opening is its; otherwise the "Logic Pro X" entry's.
        DawControl* daw = nullptr;
    };
    explicit SongRecall(const Dependencies& dependencies, QObject* parent = nullptr);

    // Each gives false when the recall ended without reaching a song (nothing to recall, or
    // a row outside the list, which is logged).
    bool runMyScriptInController();
    bool reverseMyScriptInController();
    bool runMyScriptUsingProgChangeInController();
    void goToLogicProject();
    void mainThreadOpenLogicFile(const QVariant& ignored);
    void openLogicFile(const QVariant& ignored);
    void setWindowPosition();
    void locateScript() {}

    // Where a window's top-left corner goes so that its top-right corner sits on the
    // visible area's top-right corner (top-left origin, y down).
    static QPoint topRightOrigin(const QRect& visibleArea, const QSize& windowSize);

    QVariant kAsNumber;
    QVariant controllerFileToOpen;
    QVariant selectedScript;
    // Never created: reads give 0 and writes go nowhere.
    std::optional<QVariantList> waitingMidiMessage;
    qint64 waitingFlag() const;

signals:
    // Emitted after the workspace was asked to open a project (for diagnostics and tests).
    void projectOpenRequested(const QString& path, bool started);

private:
    ArrayController* currentSetlistController() const;

    void redisplay();
    // Whether the DAW control in use takes `path` as a song's project.
    bool isProject(const QVariant& path) const;
    void closeAndScheduleOpening();
    // The song's own MIDI, when that is asked for.
    void sendSongMessages(const ManagedObject& song);
    void openWithDaw();

    QPointer<TableView> setlistTableView;
    QPointer<StagePosition> position;
    QPointer<TableView> aSongsTableView;
    QPointer<QObject> notificationSender;
    QPointer<MainMidi> mainMidiObject;
    Prefs* sharedPrefs;
    QPointer<ObjectContext> context;
    std::function<QList<ManagedObject*>()> returnFilteredArray;
    QPointer<QWidget> window;
    QPointer<DawControl> daw;
};
