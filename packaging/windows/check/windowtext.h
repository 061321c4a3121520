#pragma once

/// A file in the temporary folder: a line "identifier: name" for each element of the last window queried.
constexpr wchar_t windowTextFile[] = L"window-text.txt";
