// What a check has found: names, numbers, counts, causes.

#include "FindingLog.h"

#include <algorithm>
#include <array>

namespace LbtTev::Check {

using Kind = Finding::Kind;
using Severity = Finding::Severity;

namespace {

struct KindFacts {
  Kind kind;
  std::string_view name;
  Severity severity;
};

constexpr std::array<KindFacts, 22> kKinds{{
    {Kind::Header, "header", Severity::Damage},
    {Kind::OddVersion, "odd-version", Severity::Warning},
    {Kind::Index, "index", Severity::Damage},
    {Kind::BlockOutsideFile, "block-outside-file", Severity::Damage},
    {Kind::UnreadableBlock, "unreadable-block", Severity::Damage},
    {Kind::RecordedLength, "recorded-length", Severity::Damage},
    {Kind::UnusedBytes, "unused-bytes", Severity::Warning},
    {Kind::MissingTree, "missing-tree", Severity::Damage},
    {Kind::MissingStream, "missing-stream", Severity::Damage},
    {Kind::UnreadableRecord, "unreadable-record", Severity::Damage},
    {Kind::RepeatedId, "repeated-id", Severity::Damage},
    {Kind::LinkToNothing, "link-to-nothing", Severity::Damage},
    {Kind::Cycle, "cycle", Severity::Damage},
    {Kind::SharedChild, "shared-child", Severity::Damage},
    {Kind::NoGeometry, "no-geometry", Severity::Damage},
    {Kind::UnreferencedNode, "unreferenced-node", Severity::Damage},
    {Kind::ByteCount, "byte-count", Severity::Warning},
    {Kind::UnreadableData, "unreadable-data", Severity::Damage},
    {Kind::NodeRange, "node-range", Severity::Damage},
    {Kind::FaceLengths, "face-lengths", Severity::Damage},
    {Kind::OverlappingData, "overlapping-data", Severity::Damage},
    {Kind::NotFinite, "not-finite", Severity::Warning},
}};

const KindFacts& FactsOf(Kind kind) { return *std::ranges::find(kKinds, kind, &KindFacts::kind); }

bool MayFollowFromABlock(Kind kind) {
  return kind == Kind::UnreadableRecord || kind == Kind::UnreadableData;
}

template <class Map, class Key>
std::optional<std::uint64_t> ValueIn(const Map& map, const Key& key) {
  const auto found = map.find(key);
  return found == map.end() ? std::nullopt : std::optional<std::uint64_t>(found->second);
}

}  // namespace

std::string_view NameOf(Verdict verdict) {
  constexpr std::array<std::string_view, 5> kNames{"ok", "warning", "damaged", "not-a-model",
                                                   "unreadable"};
  return kNames.at(static_cast<std::size_t>(verdict));
}

std::string_view NameOf(Kind kind) { return FactsOf(kind).name; }

Severity SeverityOf(Kind kind) { return FactsOf(kind).severity; }

std::string_view NameOf(Severity severity) {
  return severity == Severity::Damage ? "damage" : "warning";
}

std::optional<std::uint64_t> FindingLog::Add(Finding finding) {
  if (!finding.cause && MayFollowFromABlock(finding.kind)) {
    finding.cause = CauseOf(finding);
  }
  const auto told = Tell(finding);
  return finding.cause ? finding.cause : told;
}

void FindingLog::AddLostBlock(Finding finding, bool isLengthKnown) {
  const bool isOutside = finding.kind == Kind::BlockOutsideFile;
  finding.cause = isOutside ? cut_ : std::nullopt;
  ++result_.lostBlocks;
  const auto told = Tell(finding);
  const auto cause = finding.cause ? finding.cause : told;
  if (!cause) {
    return;  // above the limit: nothing can refer to it
  }
  cut_ = isOutside ? cause : cut_;
  lostBlocks_.emplace(finding.block->number, *cause);
  if (!isLengthKnown) {
    lostLengths_.emplace(finding.block->name, *cause);
  }
}

/// The number that the finding got, none for one that is not told.
std::optional<std::uint64_t> FindingLog::Tell(const Finding& finding) {
  Count(finding);
  if (limit_ == Limit::TenThousand && ++counts_[finding.kind] > kMost) {
    ++result_.untold[finding.kind];
    return std::nullopt;
  }
  (*sink_)(finding);
  return told_++;
}

std::optional<std::uint64_t> FindingLog::CauseOf(const Finding& finding) const {
  return finding.block    ? ValueIn(lostBlocks_, finding.block->number)
         : finding.stream ? ValueIn(lostLengths_, *finding.stream)
                          : std::nullopt;
}

void FindingLog::Count(const Finding& finding) {
  const bool isDamage = SeverityOf(finding.kind) == Severity::Damage;
  ++(isDamage ? result_.damages : result_.warnings);
  result_.verdict = std::max(result_.verdict, isDamage ? Verdict::Damaged : Verdict::Warning);
  const bool isAllLost = finding.kind == Kind::Header || finding.kind == Kind::Index ||
                         finding.kind == Kind::MissingTree;
  result_.isAllLost = result_.isAllLost || isAllLost;
  result_.lostStreams += finding.kind == Kind::MissingStream ? 1U : 0U;
  result_.lostRecords += finding.kind == Kind::UnreadableRecord ? 1U : 0U;
  result_.lostVariables += finding.kind == Kind::UnreadableData ? 1U : 0U;
  if (finding.kind == Kind::NodeRange || finding.kind == Kind::FaceLengths) {
    result_.lostMeshes += lastMesh_ == finding.node->number ? 0U : 1U;
    lastMesh_ = finding.node->number;
  }
}

}  // namespace LbtTev::Check
