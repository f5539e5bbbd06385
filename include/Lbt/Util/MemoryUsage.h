#pragma once

#include <istream>
#include <utility>

namespace LbtUtil {

/// The memory of this process as "/proc/self/stat" has it: virtual size and
/// resident size, in whole mebibytes, rounded down. Both 0 where it cannot be
/// read.
[[nodiscard]] std::pair<unsigned long, unsigned long> GetLinuxMemoryUsage();

/// The same for the text of a process status file and a page size in bytes. The
/// command name counts as one word: one with blanks in it shifts the fields.
[[nodiscard]] std::pair<unsigned long, unsigned long> ParseMemoryUsage(std::istream& status,
                                                                       long pageSize);

}  // namespace LbtUtil
