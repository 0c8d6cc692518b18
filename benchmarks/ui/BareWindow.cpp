// The least window of the same toolkit and size that could animate: what a start, the memory and a timer of any such
// program cost here.

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
