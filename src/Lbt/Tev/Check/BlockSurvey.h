#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <string_view>
#include <vector>

#include "FindingLog.h"
#include "Lbt/Lbf/ContainerListing.h"
#include "Lbt/Lbf/LbFile.h"

namespace LbtTev::Check {

/// A block of a container with what is known of it.
struct CheckedBlock {
  NumberedName name;
  std::uint64_t offset = 0;  ///< in the file
  std::uint32_t storedSize = 0;
  bool isCompressed = false;
  /// How much of it the file has and its recorded length from the start on, the rest where it has
  /// been read.
  LbtLbf::BlockCheck check;
  bool isRead = false;  ///< to its end
  bool isLost = false;  ///< it cannot be loaded

  /// Whether it is known to hold what it is recorded with.
  [[nodiscard]] bool IsExact() const {
    return isRead && !isLost && check.length == check.recordedLength;
  }
};

/// The blocks of a container. What can be told without their contents is told at once; each is
/// checked to its end by the reader that needs it, or else here, so that none is inflated twice but
/// one that zlib refuses.
class BlockSurvey {
 public:
  /// Reads no contents. The index must have been read; both must outlive this.
  BlockSurvey(LbtLbf::LbFile& file, FindingLog& log);

  /// In the order of the index. They stay where they are.
  [[nodiscard]] const std::vector<CheckedBlock>& Blocks() const { return blocks_; }

  /// The block whose load has just failed, of which all is told first: that which zlib refused, if
  /// any; null where reading failed otherwise.
  [[nodiscard]] const CheckedBlock* FailedBlock(
      const std::optional<LbtLbf::NumberedBlock>& refused);

  /// Checks the blocks of a stream that nobody has read, and tells what has come of the others.
  void Finish(std::string_view stream);

  /// The same for all streams.
  void FinishAll();

 private:
  void Measure(std::size_t entry);
  void Settle(CheckedBlock& block);
  void Inflate(CheckedBlock& block);
  void TellUnreadable(CheckedBlock& block, const std::exception& exception);
  void TellLost(CheckedBlock& block, Finding finding);
  [[nodiscard]] bool WasLoaded(const CheckedBlock& block) const;

  LbtLbf::LbFile* file_;
  FindingLog* log_;
  std::vector<CheckedBlock> blocks_;
};

}  // namespace LbtTev::Check
