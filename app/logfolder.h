#pragma once

class QDateTime;
class QFile;

/// Creates the log of each run of the program and removes old logs.
namespace LogFolder {

/// Creates the log of a run that started at local time @p start, and opens it for writing as @p file.
///
/// The file is "yyyyMMdd-HHmm.txt" in the folder "ZEFO_VYNT_Firmware_Update_Logs" of the user's temporary
/// directory. If that name is taken, "-2", "-3" and so on follow the time. If no log can be created in this
/// folder, for example because the folder is a link or belongs to another user, createLog() uses the folder
/// "ZEFO_VYNT_Firmware_Update_Logs-NAME" instead. NAME is the name of the user's home directory.
///
/// Other users may write to the temporary directory. So createLog() always creates a new file, never opens a
/// file through a link, and uses a folder that only this user can write to.
///
/// Removes the oldest logs of the new log's folder, so that at most 20 logs remain, including the new one.
///
/// @return false if no log could be created.
[[nodiscard]] bool createLog(QFile& file, const QDateTime& start);

} // namespace LogFolder
