#pragma once

#include <string>
#include <vector>

#include <windows.h>

/// A file that the package carries.
struct PackedFile
{
    std::wstring name; ///< without folders
    std::vector<BYTE> bytes;
};

/// The files that the package carries, the program first: a resource of the package, a tar archive compressed
/// by gzip.
/// @return an error code of the system; ERROR_SUCCESS where @p files are complete.
[[nodiscard]] DWORD unpackFiles(std::vector<PackedFile>& files);
