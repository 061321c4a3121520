#include "leavesnothing.h"

#include "openobjects.h"

void LeavesNothing::init()
{
    handlesBefore = openHandleCount();
    comObjectsBefore = liveComObjectCount();
}

void LeavesNothing::cleanup()
{
    QCOMPARE(openHandleCount(), handlesBefore);
    QCOMPARE(liveComObjectCount(), comObjectsBefore);
}
