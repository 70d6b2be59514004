#include <QApplication>

// Replaced by the full start-up once the window exists.
int runApplication(int argc, char** argv) {
    QApplication app(argc, argv);
    return 0;
}
