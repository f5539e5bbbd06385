#pragma once

/// One run of the program, from its arguments to its exit status: 0 done, 1 bad usage,
/// 2 a file failed, or the answer could not be written.
[[nodiscard]] int RunTev(int argc, const char* const* argv);
