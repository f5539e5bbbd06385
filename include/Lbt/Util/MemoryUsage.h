#pragma once

#include <cstddef>
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

namespace Lbt::Util {

/// Asks the system to back the "size" bytes at "start", which are about to be filled, with large
/// pages: memory that is touched for the first time else costs a page fault for every 4 KiB. Of
/// no effect but on time, and none at all for less than some large pages.
void AskForLargePages(void* start, std::size_t size);

/// Has memory of some mebibytes go back to the system as soon as it is freed. The allocator else
/// comes to keep it between other pieces, where the next one of another size does not fit. To be
/// called before any is taken.
void ReturnLargePieces();

}  // namespace Lbt::Util
