#pragma once

#include <cstddef>
#include <functional>

namespace tevtest {

/// How work ended that was allowed so much memory more than there was at its start.
enum class Allowed { Enough, TooLittle };

/// Does "work" in a child whose heap and private mappings may grow by "bytes". It counts to the
/// page what is taken at once, however briefly, beyond what lies free in the heap of old. A
/// sanitizer takes memory for itself: with one, no call of this means anything.
[[nodiscard]] Allowed DoWithin(std::size_t bytes, const std::function<void()>& work);

/// Within such work: takes what lies free in the heap, too, but for pieces of less than "bytes".
void TakeAllPiecesFrom(std::size_t bytes);

}  // namespace tevtest
