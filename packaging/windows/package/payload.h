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
/// @return the files; none if the package is damaged.
std::vector<PackedFile> unpackFiles();
