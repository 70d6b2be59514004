// A stand-in for a file manager when looking at Gigmora by hand under Xvfb: a small window
// that starts a drag of the files named on its command line (as file URLs) when pressed.
#include <QApplication>
#include <QDrag>
#include <QLabel>
#include <QMimeData>
#include <QUrl>

namespace {
class Source : public QLabel {
public:
    QList<QUrl> urls;
    Source() : QLabel("drag me") { setAlignment(Qt::AlignCenter); }

protected:
    void mousePressEvent(QMouseEvent*) override {
        auto* data = new QMimeData;
        data->setUrls(urls);
        QDrag drag(this);
        drag.setMimeData(data);
        qInfo("drag ended: %s",
              drag.exec(Qt::CopyAction) == Qt::CopyAction ? "copied" : "not taken");
    }
};
} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    Source source;
    for (const QString& path : app.arguments().mid(1))
        source.urls << QUrl::fromLocalFile(path);
    source.setWindowTitle("drag source");
    source.setGeometry(900, 560, 160, 80);
    source.show();
    return app.exec();
}
