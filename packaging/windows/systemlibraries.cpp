// Linked into the updater and its package: before anything else of the program runs, libraries are looked for
// in the system's folder only, not beside the program, where a download folder may hold anything.
#include <windows.h>

namespace {

class SystemLibrariesOnly
{
public:
    SystemLibrariesOnly()
    {
        // Windows 7 may lack it (KB2533623).
        const FARPROC procedure =
            GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "SetDefaultDllDirectories");
        if (procedure)
            reinterpret_cast<BOOL(WINAPI*)(DWORD)>(reinterpret_cast<void*>(procedure))(
                LOAD_LIBRARY_SEARCH_SYSTEM32);
    }
};

constexpr int beforeAllOthers = 101; // the first priority that the compiler leaves to programs
const SystemLibrariesOnly systemLibrariesOnly __attribute__((init_priority(beforeAllOthers), used));

} // namespace
