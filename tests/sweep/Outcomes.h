#pragma once

#include <cstddef>
#include <map>
#include <string>

/// How often a run ended in which way, by the names of the ways.
using Outcomes = std::map<std::string, std::size_t>;

/// What both programs do with the file at "path", in this process, each outcome counted under
/// the name of the work and of how it ended: "report: done", "dump: Out of Bounds", "tev blocks:
/// failed". An end that is not allowed has "not allowed" in its name.
void TryEverything(const std::string& path, Outcomes& outcomes);
