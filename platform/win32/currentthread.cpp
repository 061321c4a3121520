#include "currentthread.h"

#include <atomic>

namespace {

thread_local DWORD thisThread = 0;

} // namespace

DWORD CurrentThread::id()
{
    if (thisThread == 0)
        thisThread = nextId();
    return thisThread;
}

DWORD CurrentThread::nextId()
{
    static std::atomic<DWORD> last{0};
    return ++last;
}

void CurrentThread::adopt(DWORD id)
{
    thisThread = id;
}
