#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Lbt/Tev/Analysis/Facts.h"
#include "Lbt/Tev/Tree.h"
#include "Lbt/Util/AttributeValue.h"

/// One of the solver's files that a model was made from, as the model tells of it.
struct NativeFile {
  std::optional<std::string> path;
  std::optional<std::string> type;     ///< the format that the path's name indicates
  std::optional<std::string> size;     ///< as the model has it, with a unit
  std::optional<std::uint64_t> bytes;  ///< as many as that size stands for, which is rounded
};

/// What the attributes of a model's root tell.
struct RootFacts {
  std::optional<double> nodes;
  std::optional<double> elements;
  LbtTev::Analysis::Units units;
  NativeFile modelFile;
  NativeFile resultsFile;
  LbtUtil::AttributeMap others;  ///< those that tell none of the above
};

[[nodiscard]] RootFacts RootFactsOf(const LbtTev::Tree& tree);

/// The bytes that a size like "12.5 MB" stands for; none for any other text.
[[nodiscard]] std::optional<std::uint64_t> BytesOfSize(const std::string& size);
