#pragma once

#include <string>

/// The name of the solver format that a model file's name indicates, by its extension;
/// "Unknown Format" where it indicates none. The file is not opened.
[[nodiscard]] std::string GetModelFileFormat(const std::string& path);

/// The same for a results file: there ".dat" is a Fluent solution, not a Nastran deck.
[[nodiscard]] std::string GetResultsFileFormat(const std::string& path);
