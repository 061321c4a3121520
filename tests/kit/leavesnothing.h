#pragma once

#include <QtTest>

/// A test whose functions leave no handle open that was not open before, and no COM object at all.
class LeavesNothing : public QObject
{
    Q_OBJECT

protected:
    std::size_t handlesBefore = 0;

protected Q_SLOTS:
    void init();
    void cleanup();
};
