// What the updater's start is compared with: an empty window of a given size.
//
//     emptywindow WIDTH HEIGHT

#include <QApplication>
#include <QMainWindow>

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    QMainWindow window;
    window.setFixedSize(arguments.value(1).toInt(), arguments.value(2).toInt());
    window.show();
    return QApplication::exec();
}
