#pragma once

/// One run of the program, from its arguments to its exit status: 0 done, 1 no model
/// named, 2 failed with a line on standard error. Lets GeometryAssertion pass. Once in a process,
/// whose end frees the model.
[[nodiscard]] int RunTevInfo(int argc, char** argv);
