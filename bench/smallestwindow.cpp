// The smallest program with a window of Qt: what bench/windows-start measures the start of the program by.

#include <QApplication>
#include <QWidget>

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    QWidget window;
    window.resize(600, 400);
    window.show();
    return QApplication::exec();
}
