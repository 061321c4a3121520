#pragma once

/// For a window of a hooked thread, which writes a line "identifier text" for each item of its system menu to
/// a file: the hook's path with the suffix.
constexpr wchar_t listSystemMenuMessage[] = L"zefo-vynt-check-list-system-menu";
constexpr wchar_t menuListSuffix[] = L".txt";
