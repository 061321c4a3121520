#pragma once

#include <QtTest>

/// The number of memory blocks from `new` that are in use in this process; always 0 in a build with
/// sanitizers. Callable on any thread.
std::size_t liveBlockCount();

/// A base class for tests. A test function fails if it changes the number of open handles, or if it leaves a
/// COM object behind.
class LeavesNothing : public QObject
{
    Q_OBJECT

protected:
    std::size_t handlesBefore = 0;

protected Q_SLOTS:
    void init();
    void cleanup();
};
