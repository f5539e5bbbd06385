#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "Lbt/Lbf/StoredFile.h"
#include "Lbt/Tev/Check/Finding.h"

namespace LbtTev::Check {

/// What a check comes to.
enum class Verdict {
  Ok,
  Warning,     ///< something is odd, nothing is lost
  Damaged,     ///< the file has the signature, and something of it is lost
  NotAModel,   ///< it lacks the signature
  Unreadable,  ///< it could not be checked; never returned, but what failures are called
};

/// The name of a verdict for scripts: "not-a-model".
[[nodiscard]] std::string_view NameOf(Verdict verdict);

/// The result of a check.
struct CheckResult {
  Verdict verdict = Verdict::Ok;
  /// What a file that is no model looks like, in words that end a sentence: "a gzip file". Empty
  /// where that is anybody's guess.
  std::string looksLike;
  std::uint64_t warnings = 0;
  std::uint64_t damages = 0;
  /// Whether nothing of the model can be had, since the header, the index or the tree is lost.
  bool isAllLost = false;
  bool hasRefusedRead = false;    ///< the system did, so that findings may tell nothing of the file
  std::uint64_t lostStreams = 0;  ///< absent ones that another name may hide
  std::uint64_t lostBlocks = 0;
  std::uint64_t lostRecords = 0;
  std::uint64_t lostParts = 0;  ///< shapes without a geometry
  std::uint64_t lostVariables = 0;
  std::uint64_t lostMeshes = 0;  ///< geometries whose faces do not fit their lengths or nodes
  /// How many findings of a kind there were above the limit, which nobody was told of.
  std::map<Finding::Kind, std::uint64_t> untold;
};

/// How many findings of one kind a check tells.
enum class Limit {
  TenThousand,
  None,
};

/// Checks a model file: inflates every block, reads every record and loads every variable, and
/// tests what reading a model takes without a word. Of a stream that is read from front to
/// back, nothing is read after its first failure; all other checks go on. No findings: sound.
///
/// Takes time in proportion to what the blocks hold, and memory for the tree and one variable,
/// however much is wrong. Throws where the file cannot be opened, is of a version that is not
/// supported, or memory runs out; what "sink" was told until then is true.
/// "onBlock", where it is set, is called with the number of each block that is about to be read,
/// and with how many there are. "opened" is the file at "path" where it is open already.
[[nodiscard]] CheckResult CheckModel(
    const std::string& path, const FindingSink& sink, Limit limit = Limit::TenThousand,
    const std::function<void(std::size_t number, std::size_t all)>& onBlock = {},
    LbtLbf::StoredFile opened = {});

}  // namespace LbtTev::Check
