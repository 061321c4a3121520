#pragma once

/// The phases of an update, in their order. Prepare and Restore concern the computer. All other phases
/// concern one device each.
enum class Phase { Prepare, Leave, Identify, Configure, Erase, Download, Commit, FinalWait, Restore };

/// Returns the name that the log, the bench and the documentation use for @p phase.
constexpr const char* phaseName(Phase phase)
{
    constexpr const char* names[] = {"prepare",  "leave",  "identify",   "configure", "erase",
                                     "download", "commit", "final wait", "restore"};
    return names[static_cast<int>(phase)];
}
