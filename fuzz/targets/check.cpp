// The check of a model, which must come to an end on any file and whose findings must make sense.

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "Lbt/Tev/Check/ModelCheck.h"
#include "Target.h"

namespace {

using LbtTev::Check::Finding;
using LbtTev::Check::Verdict;

void Require(bool isTrue) {
  if (!isTrue) {
    std::abort();
  }
}

}  // namespace

void tevfuzz::TryFile(const std::string& path, std::span<const std::uint8_t> /*bytes*/) {
  std::vector<bool> isCause;
  bool isDamaged = false;
  const auto result = LbtTev::Check::CheckModel(path, [&](const Finding& finding) {
    Require(!finding.text.empty());
    Require(!finding.variable || finding.node);
    Require(!finding.cause || (*finding.cause < isCause.size() && isCause[*finding.cause]));
    isCause.push_back(!finding.cause);
    isDamaged = isDamaged || SeverityOf(finding.kind) == Finding::Severity::Damage;
  });
  const Verdict expected = isDamaged         ? Verdict::Damaged
                           : isCause.empty() ? Verdict::Ok
                                             : Verdict::Warning;
  Require(result.verdict == expected || result.verdict == Verdict::NotAModel);
  Require(result.damages + result.warnings >= isCause.size());
}
