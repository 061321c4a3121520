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

/// Unpacks the files that the package carries. The package has a resource with these files: a tar archive
/// compressed with gzip.
/// @return the files, the program first. Empty if the package is damaged.
[[nodiscard]] std::vector<PackedFile> unpackFiles();
