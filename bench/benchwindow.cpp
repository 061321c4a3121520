#include "benchwindow.h"

BenchWindow::BenchWindow(BenchRun& benchRun, EventLog& eventLog)
    : run(benchRun)
    , log(eventLog)
{
}
