#pragma once

/// The name of a file in the temporary folder. It has a line "identifier: name" for each element of the
/// window that was queried last.
constexpr wchar_t windowTextFile[] = L"window-text.txt";
