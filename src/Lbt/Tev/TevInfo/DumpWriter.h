#pragma once

#include <cstddef>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "Lbt/Tev/TevInfo/TevInfo.h"
#include "Lbt/Util/TextBuffer.h"

namespace LbtTev::Report {

/// Writes the data dump. Data sets are meant by their positions in the sequence.
class DumpWriter {
 public:
  using Positions = std::vector<std::size_t>;
  using Listing = std::map<std::string, Positions>;

  DumpWriter(const std::vector<TevDataset>& datasets, std::ostream& stream)
      : datasets_(&datasets), text_(stream) {}

  void WriteAll();
  void WriteAnalysis(const std::string& group, const Positions& positions);
  void WriteMesh(const Positions& positions);
  /// "nodeIds" follow the results of every instance.
  void WriteResults(const Listing& byInstance, const Positions& nodeIds, std::size_t nodeCount);

  /// Hands on what is left of the text. Throws where the stream is set to throw.
  void Finish() { text_.Flush(); }

 private:
  /// The data sets that describe a group's mesh; null where the group has none.
  struct Mesh {
    const TevDataset* nodeIds = nullptr;
    const TevDataset* coordinates = nullptr;
    const TevDataset* connectivity = nullptr;
    const TevDataset* polylength = nullptr;
    std::size_t nodeCount = 0;
    std::size_t elementCount = 0;
  };

  /// The columns of a data set in a table, of which the first one stands for all: a data set may
  /// have millions.
  struct Columns {
    TevInfo::DimenInfo first;
    std::span<const float> values;
    bool isNodeId;
  };

  /// A position that no data set has stands for an empty one.
  [[nodiscard]] const TevDataset& At(std::size_t position) const {
    return position < datasets_->size() ? (*datasets_)[position] : none_;
  }
  [[nodiscard]] Mesh FindMesh(const Positions& positions) const;
  void WriteLines(const std::vector<std::string>& names);
  void WriteOverview(const Listing& byResult, const Listing& byInstance, std::size_t nodeCount);
  void WriteNodes(const Mesh& mesh);
  void WriteElements(const Mesh& mesh);
  void WriteTable(const std::string& instance, const Positions& results, const Positions& nodeIds,
                  std::size_t nodeCount);
  void WriteRows(const Positions& positions, std::size_t nodeCount);
  void WriteComponents(const Columns& columns, std::size_t node);

  const std::vector<TevDataset>* datasets_;
  TevDataset none_;
  Lbt::Util::TextBuffer text_;
};

}  // namespace LbtTev::Report
