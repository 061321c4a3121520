#pragma once

class QDateTime;
class QFile;

/// The folder that holds the logs of the last runs.
namespace LogFolder {

/// Creates the log of a run that started at local time @p start, and opens it for writing as @p file.
///
/// It is "yyyyMMdd-HHmm.txt" in the folder "ZEFO_VYNT_Firmware_Update_Logs" of the user's temporary
/// directory. If the name is taken, "-2", "-3" and so on come before the suffix. If that folder belongs to
/// another user, or is a link or no folder, a folder beside it serves that has the user's name at its end.
///
/// Others may write to the temporary directory. So the file is always a new one, never opened through a link
/// and never one that exists, and the folder is one that only this user can write to.
///
/// Removes the oldest logs of that folder, so that 20 remain with the new one.
///
/// @return false if no log could be created.
[[nodiscard]] bool createLog(QFile& file, const QDateTime& start);

} // namespace LogFolder
