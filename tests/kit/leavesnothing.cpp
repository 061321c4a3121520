#include "leavesnothing.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "openobjects.h"

namespace {

std::atomic<std::size_t> liveBlocks{0};

} // namespace

// A build with sanitizers keeps the sanitizer's own operators new and delete, which check memory.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

// The whole program, Qt included, uses these operators.

void* operator new(std::size_t size)
{
    void* const block = std::malloc(size);
    if (!block)
        throw std::bad_alloc();
    ++liveBlocks;
    return block;
}

void operator delete(void* block) noexcept
{
    liveBlocks -= block ? 1 : 0;
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    operator delete(block);
}

#endif

std::size_t liveBlockCount()
{
    return liveBlocks;
}

void LeavesNothing::init()
{
    handlesBefore = openHandleCount();
}

void LeavesNothing::cleanup()
{
    QCOMPARE(openHandleCount(), handlesBefore);
    QCOMPARE(liveComObjectCount(), std::size_t(0));
}
