#pragma once

#include <QtTest>

/// A test whose functions leave no handle and no COM object open that was not open before.
class LeavesNothing : public QObject
{
    Q_OBJECT

protected:
    std::size_t handlesBefore = 0;

protected Q_SLOTS:
    void init();
    void cleanup();

private:
    std::size_t comObjectsBefore = 0;
};
