// Makes a program load libraries from the system's folder only, because other programs can put files into the
// package's folder. The updater and its package link this file.
#include <windows.h>

extern "C" {
// bind.sh writes the address of this structure to the program's header. Windows 10 (version 1607) and later
// then resolve the program's imports in the system's folder only.
extern const IMAGE_LOAD_CONFIG_DIRECTORY32 _load_config_used;
const IMAGE_LOAD_CONFIG_DIRECTORY32 _load_config_used __attribute__((used)) = [] {
    IMAGE_LOAD_CONFIG_DIRECTORY32 configuration{};
    configuration.Size = sizeof(configuration);
    configuration.Reserved1 =
        LOAD_LIBRARY_SEARCH_SYSTEM32; // Reserved1 is DependentLoadFlags, which mingw-w64 does not name
    return configuration;
}();
}

namespace {

class SystemLibrariesOnly
{
public:
    SystemLibrariesOnly()
    {
        // Windows 7 has SetDefaultDllDirectories() only if the update KB2533623 is installed.
        const FARPROC procedure =
            GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "SetDefaultDllDirectories");
        if (procedure)
            reinterpret_cast<BOOL(WINAPI*)(DWORD)>(reinterpret_cast<void*>(procedure))(
                LOAD_LIBRARY_SEARCH_SYSTEM32);
    }
};

constexpr int beforeAllOthers = 101; // the compiler reserves the earlier priorities, up to 100
const SystemLibrariesOnly systemLibrariesOnly __attribute__((init_priority(beforeAllOthers), used));

} // namespace
