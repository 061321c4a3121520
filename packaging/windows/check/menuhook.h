#pragma once

/// The message that asks the hook for a window's system menu. The hook writes a line "identifier text" for
/// each item to a file. Its path is the path of the hook's DLL with menuListSuffix appended.
constexpr wchar_t listSystemMenuMessage[] = L"zefo-vynt-check-list-system-menu";
constexpr wchar_t menuListSuffix[] = L".txt";
