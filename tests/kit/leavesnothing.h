#pragma once

#include <QtTest>

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
