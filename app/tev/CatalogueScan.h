#pragma once

#include <functional>
#include <string>

#include "tev/Catalogue.h"
#include "tev/CataloguePaths.h"
#include "tev/Inputs.h"
#include "tev/Progress.h"
#include "tev/ScanNote.h"

/// How deep a scan goes, and into which catalogue.
struct ScanOrder {
  std::string catalogue;  ///< made where it is missing
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
  bool isWhole = true;  ///< it came to its end, and all has its row
};

/// Gives every file of "inputs" its row. What the catalogue knows already is not opened. Throws a
/// Failure where the scan cannot be finished: what is done is kept, and the next one goes on from
/// there.
[[nodiscard]] ScanCounts ScanInto(const ScanOrder& order, Inputs& inputs, ScanNote& note);
