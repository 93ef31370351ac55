/// Lines at the end of a log file that threads and processes share.
#ifndef KYFOCUS_PLATFORM_LOG_FILE_H
#define KYFOCUS_PLATFORM_LOG_FILE_H

#include <string>
#include <string_view>

namespace platform {

/// "2024-05-31 14:03:12.345 1234/1240", local time, process and thread: how a log line starts.
std::string LogStamp();

/// Appends the text in one write, so that lines never mix. A new file is readable to the user alone. Links and what is
/// no plain file are refused, and all failures pass silently: a log never stops the work that it tells about.
void AppendToLogFile(const std::string& path, std::string_view text) noexcept;

} // namespace platform

#endif
