#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <string>

#include "Lbt/Tev/Check/Finding.h"
#include "tev/TemporaryFile.h"

/// The findings on one file as lines of text: first lost blocks and records, and under each what
/// follows from it, as a count or, where all are listed, line by line; then all others in the order
/// in which they were found. Memory grows with those that are lost and what follows from them
/// alone.
class FindingLines {
 public:
  explicit FindingLines(bool areAllListed);

  /// Takes the next finding.
  void Add(const LbtTev::Check::Finding& finding);

  void WriteTo(std::ostream& stream) const;

 private:
  struct Cause {
    std::string lines;  // its own, and those of its followers
    std::uint64_t followers = 0;
  };

  bool areAllListed_;
  std::uint64_t count_ = 0;
  std::map<std::uint64_t, Cause> causes_;  // by the number of the finding
  HeldText others_;
  std::ostream otherStream_;
};
