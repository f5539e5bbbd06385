#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tev/Catalogue.h"
#include "tev/CataloguePaths.h"
#include "tev/Progress.h"

/// What a scan is to take up, and into which catalogue.
struct ScanOrder {
  std::vector<std::string> paths;
  std::string filesFrom{};  ///< a file of further paths, as Inputs has it
  std::string catalogue;    ///< made where it is missing
  ScanDepth depth{};
  Shard shard{};
  Progress::Mode progress = Progress::Mode::Auto;
  std::function<bool()> isEnding;  ///< whether somebody has asked for its end
};

/// What a scan has done.
struct ScanCounts {
  std::size_t read = 0;
  std::size_t unchanged = 0;
  std::size_t failed = 0;  ///< of those that were read
  std::size_t vanished = 0;
};

/// Gives every file its row. What the catalogue knows already is not opened. Throws a Failure where
/// the scan cannot be finished: what is done is kept, and the next one goes on from there.
[[nodiscard]] ScanCounts ScanInto(const ScanOrder& order);
