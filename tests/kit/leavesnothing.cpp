#include "leavesnothing.h"

#include "openobjects.h"

void LeavesNothing::init()
{
    handlesBefore = openHandleCount();
}

void LeavesNothing::cleanup()
{
    QCOMPARE(openHandleCount(), handlesBefore);
    QCOMPARE(liveComObjectCount(), std::size_t(0));
}
