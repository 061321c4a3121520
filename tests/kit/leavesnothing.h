#pragma once

#include <QtTest>

/// The number of memory blocks from `new` that are in use in this process; always 0 in a build with
/// sanitizers. Callable on any thread.
std::size_t liveBlockCount();

/// A base for tests: a test function fails if it changes the number of open handles or leaves a COM object.
class LeavesNothing : public QObject
{
    Q_OBJECT

protected:
    std::size_t handlesBefore = 0;

protected Q_SLOTS:
    void init();
    void cleanup();
};
