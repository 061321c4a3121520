#pragma once

class QDateTime;
class QFile;

/// Creates logs in the folder that holds the logs of the last runs.
namespace LogFolder {

/// Creates the log of a run that started at local time @p start, and opens it for writing as @p file.
///
/// The file is "yyyyMMdd-HHmm.txt" in the folder "ZEFO_VYNT_Firmware_Update_Logs" of the user's temporary
/// directory. If that name is taken, "-2", "-3" and so on follow the time. If the folder belongs to another
/// user, is a link or is no folder, the log goes into a second folder, whose name also has "-" and the user's
/// name at its end.
///
/// Other users may write to the temporary directory. So createLog() always creates a new file, never opens a
/// file through a link, and uses only a folder that only this user can write to.
///
/// Removes the oldest logs of the folder, so that at most 20 remain, including the new one.
///
/// @return false if no log could be created.
[[nodiscard]] bool createLog(QFile& file, const QDateTime& start);

} // namespace LogFolder
