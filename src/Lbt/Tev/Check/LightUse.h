#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Tev/Check/Finding.h"
#include "Lbt/Tev/LoadObserver.h"
#include "StreamMap.h"

namespace LbtTev::Check {

/// Follows the loading of a tree: how far it is, and which light data its records read.
class LightUse final : public LbtTev::LoadObserver {
 public:
  /// Both must outlive this. "map" is that of the light data.
  LightUse(LbtLbf::LbFile& file, const StreamMap& map);

  void OnRecord(const LbtTev::TreeRecord& record) override;
  void OnNode() override;

  /// How many records have been read, and how many of their nodes.
  [[nodiscard]] std::size_t RecordCount() const { return recordCount_; }
  [[nodiscard]] std::size_t NodeCount() const { return nodeCount_; }

  /// Tells of light data that no record has read. Call it after a tree was loaded whole. Does
  /// nothing where the lengths of blocks are in doubt, and with them the places of all data.
  /// Throws where a sound block could not be loaded on the way.
  void FindUnused(const FindingSink& sink);

  /// Tells in "finding" where the data of the last record begins, as far as that is known, and
  /// where it would have to begin in the stream if it lies beyond the end.
  void PlaceLast(Finding& finding) const;

  /// The same for a geometry that was read, by its id.
  void PlaceGeometry(unsigned int id, Finding& finding) const;

 private:
  LbtLbf::LbFile* file_;
  const StreamMap* map_;
  std::string stream_;
  bool isKnown_;
  std::exception_ptr failure_;
  std::uint64_t start_ = 0;
  std::uint64_t end_ = 0;
  bool isStartKnown_ = false;
  bool isGeometry_ = false;
  unsigned int id_ = 0;
  std::unordered_map<unsigned int, std::uint64_t> geometries_;  // where their data begins
  std::vector<std::pair<std::uint64_t, std::uint64_t>> used_;
  std::size_t recordCount_ = 0;
  std::size_t nodeCount_ = 0;
};

}  // namespace LbtTev::Check
