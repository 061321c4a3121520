#pragma once

/// Sent to a window of a hooked thread: writes a line "identifier text" per system-menu item to the hook's
/// own path with the suffix.
constexpr wchar_t listSystemMenuMessage[] = L"zefo-vynt-check-list-system-menu";
constexpr wchar_t menuListSuffix[] = L".txt";
