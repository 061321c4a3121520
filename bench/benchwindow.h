#pragma once

#include <QWidget>

class BenchRun;
class EventLog;

/// The bench's own small window: plugs, unplugs and breaks the simulated devices.
class BenchWindow : public QWidget
{
    Q_OBJECT

public:
    BenchWindow(BenchRun& benchRun, EventLog& eventLog);

private:
    BenchRun& run;
    EventLog& log;
};
