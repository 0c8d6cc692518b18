// The least window of the same toolkit and size: what a start and the memory of any such program cost here.

#include <QApplication>
#include <QWidget>

int main(int argumentCount, char** arguments) {
    const QApplication application(argumentCount, arguments);
    QWidget window;
    window.resize(1180, 760);
    window.show();
    return QApplication::exec();
}
