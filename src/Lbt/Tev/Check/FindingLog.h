#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>

#include "Lbt/Tev/Check/ModelCheck.h"

namespace LbtTev::Check {

/// Takes all findings of a check: numbers and counts them, knows which follow from a lost block,
/// and hands on what the limit leaves.
class FindingLog {
 public:
  /// "sink" must outlive this.
  FindingLog(const FindingSink& sink, Limit limit) : sink_(&sink), limit_(limit) {}
  FindingLog(const FindingLog&) = delete;
  FindingLog& operator=(const FindingLog&) = delete;
  ~FindingLog() = default;

  /// Takes a finding. Records and data that cannot be read in a block that is lost, or after one
  /// whose length is lost, follow from that. Returns the number of the finding, or of its cause
  /// where it has one; none where neither is told.
  std::optional<std::uint64_t> Add(Finding finding);

  /// Takes the finding that a block is lost; where the length of its contents is so, too, nobody
  /// knows where the rest of its stream lies. A file that ends early has one cause.
  void AddLostBlock(Finding finding, bool isLengthKnown);

  /// Counts parts that are lost, however that is told.
  void AddLostParts(std::uint64_t count) { result_.lostParts += count; }

  /// The result, as far as it is known.
  [[nodiscard]] const CheckResult& Result() const { return result_; }

 private:
  static constexpr std::uint64_t kMost = 10000;  // of one kind

  std::optional<std::uint64_t> Tell(const Finding& finding);
  [[nodiscard]] std::optional<std::uint64_t> CauseOf(const Finding& finding) const;
  void Count(const Finding& finding);

  const FindingSink* sink_;
  Limit limit_;
  CheckResult result_;
  std::map<Finding::Kind, std::uint64_t> counts_;
  std::uint64_t told_ = 0;
  std::optional<std::uint64_t> lastMesh_;  // by its node, whose findings come together
  std::optional<std::uint64_t> cut_;       // the first block that the file ends before
  std::unordered_map<std::uint64_t, std::uint64_t> lostBlocks_;  // findings by block
  std::map<std::string, std::uint64_t> lostLengths_;             // the first ones, by stream
};

}  // namespace LbtTev::Check
