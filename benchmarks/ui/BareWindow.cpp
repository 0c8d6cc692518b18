// A minimal animated window of the same toolkit and size. It shows what start, memory and timer of any such program
// cost.

#include <QApplication>
#include <QTimer>
#include <QWidget>

#include <chrono>

int main(int argumentCount, char** arguments) {
    const QApplication application(argumentCount, arguments);
    QWidget window;
    window.resize(1180, 760);
    window.show();
    QTimer ticker;
    ticker.setTimerType(Qt::PreciseTimer);
    ticker.start(std::chrono::milliseconds(16));
    return QApplication::exec();
}
