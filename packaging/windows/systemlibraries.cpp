// Makes a program load libraries from the system's folder only, because other programs can put files into the
// package's folder. Linked into the updater and into its package.
#include <windows.h>

extern "C" {
// bind.sh writes the address of this structure to the program's header. Windows 10 (version 1607) and later
// then resolve the program's imports in the system's folder only.
extern const IMAGE_LOAD_CONFIG_DIRECTORY32 _load_config_used;
const IMAGE_LOAD_CONFIG_DIRECTORY32 _load_config_used __attribute__((used)) = [] {
    IMAGE_LOAD_CONFIG_DIRECTORY32 configuration{};
    configuration.Size = sizeof(configuration);
    configuration.Reserved1 =
        LOAD_LIBRARY_SEARCH_SYSTEM32; // DependentLoadFlags, which mingw-w64 does not name
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

constexpr int beforeAllOthers = 101; // the earliest priority that the compiler lets programs use
const SystemLibrariesOnly systemLibrariesOnly __attribute__((init_priority(beforeAllOthers), used));

} // namespace
