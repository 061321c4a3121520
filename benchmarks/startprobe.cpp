// Preloaded into a program with windows: ends it when its first window has been painted, whose width and
// height are then printed.

#include <cstdio>
#include <cstdlib>

#include <QApplication>
#include <QEvent>
#include <QTimer>
#include <QWidget>

namespace {

class StartProbe : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        const auto* const widget = event->type() == QEvent::Paint ? qobject_cast<QWidget*>(watched) : nullptr;
        if (!widget || !widget->isWindow())
            return false;
        watchedApplication->removeEventFilter(this);
        // Its children are painted after it, and all of that is one event.
        QTimer::singleShot(0, this, [widget] {
            std::printf("%d %d\n", widget->width(), widget->height());
            std::fflush(stdout);
            std::_Exit(0);
        });
        return false;
    }

    void watch(QCoreApplication* application)
    {
        watchedApplication = application;
        application->installEventFilter(this);
    }

private:
    QCoreApplication* watchedApplication = nullptr;
};

void watchStart()
{
    (new StartProbe(qApp))->watch(qApp);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(watchStart)
