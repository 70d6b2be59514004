// A stand-in for a file manager when looking at Gigmora by hand under Xvfb: a small window
// that starts a drag of the files named on its command line (as file URLs) when pressed.
#include <QApplication>
#include <QDrag>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>

namespace {
class Source : public QLabel {
public:
    explicit Source(QList<QUrl> urls) : QLabel("drag me"), urls_(std::move(urls)) {
        setWindowTitle("drag source");
        setAlignment(Qt::AlignCenter);
        resize(160, 80);
    }

protected:
    void mousePressEvent(QMouseEvent*) override {
        auto* data = new QMimeData;
        data->setUrls(urls_);
        QDrag drag(this);
        drag.setMimeData(data);
        const Qt::DropAction done = drag.exec(Qt::CopyAction);
        qInfo("drag ended: %s", done == Qt::CopyAction ? "copied" : "not taken");
    }

private:
    QList<QUrl> urls_;
};
} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QList<QUrl> urls;
    for (const QString& path : app.arguments().mid(1))
        urls << QUrl::fromLocalFile(path);
    Source source(urls);
    source.move(900, 560);
    source.show();
    return app.exec();
}
