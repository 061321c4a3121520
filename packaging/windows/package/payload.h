#pragma once

#include <string>
#include <vector>

#include <windows.h>

/// A file that the package carries.
struct PackedFile
{
    std::wstring name; ///< file name without folders
    std::vector<BYTE> bytes;
};

/// Unpacks the files that the package carries, the program first. The files are in the package's resource, a
/// tar archive compressed with gzip.
/// @return ERROR_SUCCESS if @p files are complete, otherwise an error code of the system.
[[nodiscard]] DWORD unpackFiles(std::vector<PackedFile>& files);
