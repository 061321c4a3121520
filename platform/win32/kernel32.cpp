// Implements the functions of kernel32 for errors, handles, events, threads, critical sections, waiting,
// time, power, memory, modules and opening devices. Also implements the text function _wcsicmp.

#include <windows.h>

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <mutex>
#include <thread>
#include <utility>

#include "clock.h"
#include "file.h"
#include "handletable.h"
#include "lasterror.h"
#include "openobjects.h"
#include "session.h"

namespace {

thread_local DWORD lastError = ERROR_SUCCESS;

struct WaitingRoom
{
    std::mutex mutex;
    std::condition_variable changed;
};

WaitingRoom& waitingRoom()
{
    static auto* const room = new WaitingRoom; // never destroyed, because threads may outlive main()
    return *room;
}

/// A kernel object that threads can wait for. All objects share the waiting room, which is one lock and one
/// condition variable, so that a thread can wait for several objects at once.
class Waitable : public KernelObject
{
public:
    Waitable(bool staysSignalled, bool initiallySignalled)
        : manualReset(staysSignalled)
        , signalled(initiallySignalled)
    {
    }

    void signal()
    {
        {
            const std::lock_guard<std::mutex> guard(waitingRoom().mutex);
            signalled = true;
        }
        waitingRoom().changed.notify_all();
    }

    /// Returns whether this object is signalled. If the object resets automatically, also ends the signal.
    /// The caller has locked the waiting room.
    bool satisfies() { return manualReset ? signalled : std::exchange(signalled, false); }

    /// Called after a wait for this object has succeeded. The waiting room is not locked then.
    virtual void waitEnded() {}

private:
    const bool manualReset;
    bool signalled;
};

class EventObject : public Waitable
{
public:
    using Waitable::Waitable;
};

DWORD nextThreadId()
{
    static std::atomic<DWORD> last{0};
    return ++last;
}

/// CreateThread sets this value in each thread that it starts. Any other thread takes the next identifier.
thread_local DWORD currentThreadId = nextThreadId();

std::atomic<std::size_t> runningThreads{0};

class ThreadObject : public Waitable
{
public:
    ThreadObject()
        : Waitable(true, false)
    {
    }
    ~ThreadObject() override
    {
        if (thread.joinable())
            thread.detach();
    }

    void waitEnded() override
    {
        const std::lock_guard<std::mutex> guard(joining);
        if (thread.joinable())
            thread.join();
    }

    std::thread thread;

private:
    std::mutex joining;
};

class ModuleObject : public HandleObject
{
};

/// Waits until @p condition returns true, but at most @p timeoutMs. Calls @p condition with the waiting room
/// locked. @return false after the timeout.
template <typename Condition>
bool waitUntil(DWORD timeoutMs, Condition condition)
{
    std::unique_lock<std::mutex> lock(waitingRoom().mutex);
    if (condition())
        return true;
    if (timeoutMs == 0)
        return false;
    if (timeoutMs != INFINITE)
        return currentMachine().clock->waitFor(lock, waitingRoom().changed, timeoutMs, condition);
    waitingRoom().changed.wait(lock, condition);
    return true;
}

} // namespace

std::size_t runningThreadCount()
{
    return runningThreads;
}

DWORD WINAPI GetLastError()
{
    return lastError;
}

void WINAPI SetLastError(DWORD error)
{
    lastError = error;
}

BOOL WINAPI CloseHandle(HANDLE object)
{
    return HandleTable::take<KernelObject>(object) != nullptr;
}

HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES, BOOL manualReset, BOOL initialState, LPCWSTR name)
{
    if (name)
        return fail(ERROR_INVALID_PARAMETER); // named events are not modelled
    if (!isServed(__func__))
        return nullptr;
    return HandleTable::add(std::make_shared<EventObject>(manualReset != FALSE, initialState != FALSE));
}

BOOL WINAPI SetEvent(HANDLE event)
{
    const auto object = HandleTable::get<EventObject>(event);
    if (!object)
        return FALSE;
    object->signal();
    return TRUE;
}

HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE start, LPVOID parameter,
                           DWORD creationFlags, LPDWORD threadId)
{
    if (creationFlags != 0)
        return fail(ERROR_INVALID_PARAMETER); // suspended threads are not modelled
    if (!isServed(__func__))
        return nullptr;
    const auto object = std::make_shared<ThreadObject>();
    const DWORD id = nextThreadId();
    if (threadId)
        *threadId = id;
    try {
        ++runningThreads;
        object->thread = std::thread([object, id, start, parameter] {
            currentThreadId = id;
            start(parameter);
            --runningThreads;
            object->signal();
        });
    } catch (const std::system_error&) {
        --runningThreads;
        return fail(ERROR_NOT_ENOUGH_MEMORY);
    }
    return HandleTable::add(object);
}

DWORD WINAPI GetCurrentThreadId()
{
    return currentThreadId;
}

DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD timeoutMs)
{
    return WaitForMultipleObjects(1, &handle, FALSE, timeoutMs);
}

DWORD WINAPI WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD timeoutMs)
{
    if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || (waitAll && count > 1))
        return fail(ERROR_INVALID_PARAMETER, WAIT_FAILED); // waiting for all objects is not modelled
    if (count > 1 && !isServed(__func__))
        return WAIT_FAILED;
    std::shared_ptr<Waitable> objects[MAXIMUM_WAIT_OBJECTS];
    for (DWORD i = 0; i < count; ++i) {
        objects[i] = HandleTable::get<Waitable>(handles[i]);
        if (!objects[i])
            return WAIT_FAILED;
    }
    DWORD index = 0;
    const auto satisfied = [&] {
        for (index = 0; index < count; ++index) {
            if (objects[index]->satisfies())
                return true;
        }
        return false;
    };
    if (!waitUntil(timeoutMs, satisfied))
        return WAIT_TIMEOUT;
    objects[index]->waitEnded();
    return WAIT_OBJECT_0 + index;
}

void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section)
{
    *section = {};
    section->LockSemaphore = new std::recursive_mutex;
}

void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section)
{
    static_cast<std::recursive_mutex*>(section->LockSemaphore)->lock();
}

void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section)
{
    static_cast<std::recursive_mutex*>(section->LockSemaphore)->unlock();
}

void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION section)
{
    delete static_cast<std::recursive_mutex*>(section->LockSemaphore);
    *section = {};
}

void WINAPI Sleep(DWORD milliseconds)
{
    currentMachine().clock->sleep(milliseconds);
}

DWORD WINAPI GetTickCount()
{
    return currentMachine().clock->tickCount();
}

EXECUTION_STATE WINAPI SetThreadExecutionState(EXECUTION_STATE state)
{
    if ((state & ~(ES_SYSTEM_REQUIRED | ES_DISPLAY_REQUIRED)) != ES_CONTINUOUS)
        return fail(ERROR_INVALID_PARAMETER); // other requirements are not modelled
    static const DWORD onlyThread = GetCurrentThreadId();
    Session* const session = currentMachine().session;
    if (GetCurrentThreadId() != onlyThread || !session)
        return fail(ERROR_NOT_SUPPORTED); // only one thread's state is modelled, and only with a session
    const EXECUTION_STATE previous = session->required() | ES_CONTINUOUS;
    if (!session->require(state & ~ES_CONTINUOUS))
        return fail(ERROR_NOT_SUPPORTED);
    return previous;
}

HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T bytes)
{
    if (flags != LPTR)
        return fail(ERROR_INVALID_PARAMETER); // other kinds of memory are not modelled
    return std::calloc(1, bytes);
}

HLOCAL WINAPI LocalFree(HLOCAL memory)
{
    std::free(memory);
    return nullptr;
}

HMODULE WINAPI GetModuleHandleW(LPCWSTR moduleName)
{
    static int program;
    if (!moduleName)
        return reinterpret_cast<HMODULE>(&program);
    return fail(ERROR_MOD_NOT_FOUND);
}

HMODULE WINAPI LoadLibraryW(LPCWSTR fileName)
{
    if (_wcsicmp(fileName, L"kernel32.dll") != 0)
        return fail(ERROR_MOD_NOT_FOUND);
    return static_cast<HMODULE>(HandleTable::add(std::make_shared<ModuleObject>()));
}

BOOL WINAPI FreeLibrary(HMODULE module)
{
    return HandleTable::take<ModuleObject>(module) != nullptr;
}

FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name)
{
    if (!HandleTable::get<ModuleObject>(module))
        return nullptr;
    if (std::strcmp(name, "IsWow64Process") == 0)
        return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(&IsWow64Process));
    return fail(ERROR_PROC_NOT_FOUND);
}

HANDLE WINAPI CreateFileW(LPCWSTR fileName, DWORD desiredAccess, DWORD shareMode, LPSECURITY_ATTRIBUTES,
                          DWORD creationDisposition, DWORD, HANDLE)
{
    if (creationDisposition != OPEN_EXISTING)
        return fail(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE); // devices can be opened, not created
    DWORD error = ERROR_SUCCESS;
    auto file = currentMachine().devices->open(fileName, desiredAccess, shareMode, error);
    if (!file)
        return fail(error, INVALID_HANDLE_VALUE);
    return HandleTable::add(std::make_shared<FileObject>(std::move(file)));
}

int _wcsicmp(const wchar_t* a, const wchar_t* b)
{
    return wcscasecmp(a, b);
}
