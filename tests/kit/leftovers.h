#pragma once

#include <QtTest>

#include "openobjects.h"

/// What is open when it is made: a test's init() makes one, its cleanup() compares.
class Leftovers
{
public:
    void compare() const
    {
        QCOMPARE(openHandleCount(), handles);
        QCOMPARE(liveComObjectCount(), comObjects);
    }

private:
    std::size_t handles = openHandleCount();
    std::size_t comObjects = liveComObjectCount();
};
