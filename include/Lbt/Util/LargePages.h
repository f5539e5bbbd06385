#pragma once

#include <cstddef>

namespace Lbt::Util {

/// Asks the system to back the "size" bytes at "start", which are about to be filled, with large
/// pages: memory that is touched for the first time else costs a page fault for every 4 KiB. Of
/// no effect but on time, and none at all for less than some large pages.
void AskForLargePages(void* start, std::size_t size);

}  // namespace Lbt::Util
