#pragma once

#include <QList>
#include <QString>

class ManagedObject;
class QPagedPaintDevice;

// Setlists as running orders on paper: the setlist's name and date at the top of every page,
// then each song in order, number, title and length, as large as the page allows while staying
// readable from the floor of a stage, and the set's total. The print dialog's printer and the
// exported PDF share it.
class RunningOrderDocument {
public:
    // `sessions`: the session manager's control, whose projects say how long songs play.
    RunningOrderDocument(QList<ManagedObject*> setlists, bool sessions);

    // Every setlist from a new page of the device, in the device's page size and margins.
    // False when the device cannot be painted on.
    bool print(QPagedPaintDevice& device) const;
    // An A4 PDF at `path`, which appears only once it is complete; otherwise false with the
    // reason in `whyNot`.
    bool saveAsPdf(const QString& path, QString* whyNot) const;

    // A song's number as every listing shows it: its MIDI trigger, "-" for none.
    static QString songNumber(const ManagedObject* song);

private:
    QList<ManagedObject*> setlists_;
    bool sessions_;
};
