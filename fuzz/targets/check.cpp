// The check of a model, which must come to an end on any file and say something with each finding.

#include <cstdlib>

#include "Lbt/Tev/Check/ModelCheck.h"
#include "Target.h"

void tevfuzz::TryFile(const std::string& path, std::span<const std::uint8_t> /*bytes*/) {
  using LbtTev::Check::Finding;
  LbtTev::Check::CheckModel(path, [](const Finding& finding) {
    const bool isPlaced = !finding.variable || finding.node;
    if (finding.text.empty() || !isPlaced) {
      std::abort();
    }
  });
}
