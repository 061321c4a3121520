#pragma once

/// In the temporary folder: a line "identifier: name" for every element of the window that was asked last.
constexpr wchar_t windowTextFile[] = L"window-text.txt";
