#pragma once

/// One run of the program, from its arguments to its exit status: 0 done, 1 no model
/// named, 2 failed with a line on standard error. Lets GeometryAssertion pass. The models of
/// several runs in a process are all freed with it.
[[nodiscard]] int RunTevInfo(int argc, char** argv);
