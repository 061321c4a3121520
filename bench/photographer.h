#pragma once

#include <functional>

#include <QString>

class EventLog;
class QWidget;

/// Gets each screen of the updater as it comes up, fully laid out, with its name. GUI thread.
using ScreenHandler = std::function<void(const QString& name, QWidget& screen)>;

/// Saves a picture of each screen in a folder, under the screen's name. A window gets a plain frame with its
/// title, as there may be no desktop to draw one.
class Photographer
{
public:
    Photographer(const QString& picturesFolder, EventLog& eventLog);

    void operator()(const QString& name, QWidget& screen) const;

private:
    QString folder;
    EventLog* log;
};
