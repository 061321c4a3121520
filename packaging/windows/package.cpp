// The self-extracting package: unpacks the updater into a temporary folder of its own, starts it with "-sfx",
// waits for it, and removes the folder. The firmware archive stays beside the package, where the updater
// looks for it. Exit status: the updater's, or 1.
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <windows.h>

#include <objbase.h>
#include <sddl.h>
#include <zlib.h>

namespace {

constexpr int payloadResource = 1;
constexpr int gzipWindowBits = 16 + MAX_WBITS;
constexpr wchar_t programName[] = L"zefo-vynt-firmware-update.exe";
/// Full access for administrators, the system and the owner, nothing inherited: where the package runs
/// elevated, the user's other programs cannot exchange the program that it is about to start.
constexpr wchar_t folderAccess[] = L"D:P(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;OW)";

struct HandleCloser
{
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using OwnedHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

std::vector<BYTE> unpackedProgram()
{
    const HRSRC resource =
        FindResourceW(nullptr, MAKEINTRESOURCEW(payloadResource), reinterpret_cast<LPCWSTR>(RT_RCDATA));
    const HGLOBAL loaded = resource ? LoadResource(nullptr, resource) : nullptr;
    if (!loaded)
        return {};
    const BYTE* const packed = static_cast<const BYTE*>(LockResource(loaded));
    const DWORD packedSize = SizeofResource(nullptr, resource);

    // A gzip stream ends with the size of what it holds, little-endian.
    DWORD size = 0;
    if (packedSize < sizeof(size))
        return {};
    CopyMemory(&size, packed + packedSize - sizeof(size), sizeof(size));

    std::vector<BYTE> program(size);
    z_stream stream{};
    stream.next_in = const_cast<BYTE*>(packed);
    stream.avail_in = packedSize;
    stream.next_out = program.data();
    stream.avail_out = size;
    if (inflateInit2(&stream, gzipWindowBits) != Z_OK)
        return {};
    const bool complete = inflate(&stream, Z_FINISH) == Z_STREAM_END && stream.avail_out == 0;
    inflateEnd(&stream);
    return complete ? program : std::vector<BYTE>();
}

std::wstring newFolderPath()
{
    wchar_t temporary[MAX_PATH + 1]{};
    wchar_t name[64]{};
    GUID unique{};
    if (GetTempPathW(MAX_PATH + 1, temporary) == 0 || CoCreateGuid(&unique) != S_OK ||
        StringFromGUID2(unique, name, static_cast<int>(std::size(name))) == 0)
        return {};
    return std::wstring(temporary) + name;
}

/// A folder for the program alone; removed, with the program, at the end.
class ProgramFolder
{
public:
    ProgramFolder()
        : path(newFolderPath())
    {
        SECURITY_ATTRIBUTES attributes{sizeof(attributes), nullptr, FALSE};
        if (path.empty() || !ConvertStringSecurityDescriptorToSecurityDescriptorW(
                                folderAccess, SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr))
            return;
        created = CreateDirectoryW(path.c_str(), &attributes) != FALSE;
        LocalFree(attributes.lpSecurityDescriptor);
    }

    ~ProgramFolder()
    {
        if (!created)
            return;
        DeleteFileW(program().c_str());
        RemoveDirectoryW(path.c_str());
    }

    ProgramFolder(const ProgramFolder&) = delete;
    ProgramFolder& operator=(const ProgramFolder&) = delete;

    std::wstring program() const { return path + L'\\' + programName; }

    bool writeProgram(const std::vector<BYTE>& bytes) const
    {
        if (!created || bytes.empty())
            return false;
        const HANDLE handle = CreateFileW(program().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                          FILE_ATTRIBUTE_NORMAL, nullptr);
        if (handle == INVALID_HANDLE_VALUE)
            return false;
        const OwnedHandle file(handle);
        DWORD written = 0;
        return WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
               written == bytes.size();
    }

private:
    std::wstring path;
    bool created = false;
};

/// @return whether the program could be started; its exit status comes back in @p status.
bool runProgram(const std::wstring& program, DWORD& status)
{
    std::wstring commandLine = L'"' + program + L"\" -sfx";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process))
        return false;
    const OwnedHandle thread(process.hThread);
    const OwnedHandle running(process.hProcess);
    return WaitForSingleObject(running.get(), INFINITE) == WAIT_OBJECT_0 &&
           GetExitCodeProcess(running.get(), &status);
}

} // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int)
{
    const ProgramFolder folder;
    DWORD status = EXIT_FAILURE;
    if (!folder.writeProgram(unpackedProgram()) || !runProgram(folder.program(), status)) {
        MessageBoxW(nullptr, L"The firmware updater could not be unpacked and started.",
                    L"ZEFO VYNT Firmware Update", MB_OK | MB_ICONERROR);
        return EXIT_FAILURE;
    }
    return static_cast<int>(status);
}
