#include "daw/DawRecord.h"

#include "daw/DawLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace {
constexpr qint64 kMaxRecordBytes = 64 * 1024;

bool isPort(qint64 value) {
    return value > 0 && value <= 65535;
}
} // namespace

Result<DawRecord> DawRecord::read(const QString& file) {
    const Failure malformed{Failure::Code::Malformed, file + QStringLiteral(" is not a record")};
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly)) return Failure{Failure::Code::NotFound, f.errorString()};
    if (f.size() > kMaxRecordBytes) return malformed;
    const QJsonDocument doc = QJsonDocument::fromJson(f.readAll());
    if (!doc.isObject()) return malformed;
    const QJsonObject o = doc.object();
    DawRecord r;
    r.pid = o.value("pid").toInteger();
    r.startTime = o.value("startTime").toInteger();
    const qint64 server = o.value("serverPort").toInteger();
    const qint64 client = o.value("clientPort").toInteger();
    if (r.pid <= 0 || r.startTime <= 0 || !isPort(server)) return malformed;
    if (client != 0 && !isPort(client)) return malformed;
    r.serverPort = quint16(server);
    r.clientPort = quint16(client);
    r.clientAddress = o.value("clientAddress").toString();
    r.clientName = o.value("clientName").toString();
    r.capabilities = o.value("capabilities").toString();
    r.loaded = o.value("loaded").toString();
    r.program = o.value("program").toString();
    r.heard = o.value("heard").toBool(true);
    return r;
}

Result<> DawRecord::write(const QString& file) const {
    QDir().mkpath(QFileInfo(file).absolutePath());
    const QJsonObject o{{"pid", pid},
                        {"startTime", startTime},
                        {"serverPort", serverPort},
                        {"clientAddress", clientAddress},
                        {"clientPort", clientPort},
                        {"clientName", clientName},
                        {"capabilities", capabilities},
                        {"loaded", loaded},
                        {"program", program},
                        {"heard", heard}};
    QSaveFile f(file);
    if (f.open(QIODevice::WriteOnly) && f.write(QJsonDocument(o).toJson()) >= 0 && f.commit())
        return {};
    qCWarning(lcDaw).noquote() << "Could not write down the running DAW in" << file + ":"
                               << f.errorString();
    return {Failure::Code::Refused, f.errorString()};
}

void DawRecord::remove(const QString& file) {
    QFile::remove(file);
}
