#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "FindingLog.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Tree.h"
#include "MeshCheck.h"
#include "StreamMap.h"

namespace LbtTev::Check {

/// What decides about the success of loading an array's numbers, and about what comes of it:
/// whether the tree holds them, where they begin, how many bytes they are, the width, and whether
/// they are shuffled.
using DataRange = std::tuple<bool, unsigned long, unsigned long, unsigned char, bool>;

/// That of an array with numbers.
[[nodiscard]] inline DataRange RangeOf(const LbtTev::NumericArray& array) {
  const bool isInFile = array.loader != nullptr;
  return {!isInFile, array.OwnPosition(), isInFile ? array.loader->GetByteSize() : array.byteSize,
          array.GetWidth(), isInFile && array.loader->IsShuffled()};
}

/// A variable at its place in the tree.
struct PlacedVariable {
  unsigned int nodeId = 0;
  const LbtTev::Geometry* geometry = nullptr;
  std::size_t index = 0;

  [[nodiscard]] const LbtTev::Geometry::VarStruct& Get() const {
    return geometry->variables[index];
  }
  [[nodiscard]] const LbtTev::NumericArray& Array() const { return Get().array; }
  /// Of its data, which there must be.
  [[nodiscard]] unsigned long Position() const { return Array().OwnPosition(); }

  /// A finding on the variable that says no more than its names.
  [[nodiscard]] Finding FindingOn(Finding::Kind kind, std::string text) const;

  [[nodiscard]] DataRange Range() const { return RangeOf(Array()); }
};

/// Loads the data of variables in the order of the stream, so that each block is read once, and the
/// same data once for all variables that share it. All of it is one request: no sound model has
/// data that overlaps in part, but a hostile one may claim all of a large block for each of very
/// many variables.
class DataCheck {
 public:
  /// "map" is that of the heavy data; all must outlive this.
  DataCheck(const LbtTev::Tree& tree, const StreamMap& map, BlockSurvey& survey)
      : file_(&tree.GetFile()),
        heavy_(tree.GetStreams().heavy),
        request_(*heavy_),
        map_(&map),
        survey_(&survey) {}

  /// Takes a variable to be loaded, where it has data of its own or through a link.
  void Add(const PlacedVariable& variable);

  /// Loads the data of all variables that were added, and checks the meshes that they make up.
  void Run();

  /// Tells what is wrong with the data of "variable". To be asked for one variable after another,
  /// in the order of their nodes and places.
  void Tell(const PlacedVariable& variable, FindingLog& log);

  /// Tells of data that was not loaded since variables share it too often.
  void TellOfSkipped(FindingLog& log) const;

 private:
  using Group = std::span<const PlacedVariable>;

  /// What is wrong with the data of a variable, in little room: there may be very many. The
  /// findings are made when they are told.
  struct Fault {
    std::uint32_t nodeId = 0;
    std::uint32_t index = 0;
    Finding::Kind kind{};
    std::uint32_t reason = 0;   ///< the place of its text, for data that cannot be loaded
    std::uint64_t element = 0;  ///< of the data, where one is wrong
    std::uint64_t claimed = 0;
    std::uint64_t found = 0;

    [[nodiscard]] auto Order() const { return std::pair(nodeId, index); }
  };

  /// Texts, each kept once.
  class Reasons {
   public:
    [[nodiscard]] std::uint32_t Add(const std::string& text);
    [[nodiscard]] const std::string& At(std::uint32_t place) const { return *texts_[place]; }

   private:
    std::map<std::string, std::size_t> places_;
    std::vector<const std::string*> texts_;  // nodes of the map do not move
  };

  void Check(Group group);
  [[nodiscard]] std::uint64_t CostOf(const LbtTev::DataLoader& loader) const;
  void Load(Group group, const LbtTev::DataLoader& loader);
  void CheckValues(Group group);
  void AddUnreadable(Group group, const std::string& text, bool isBlockGood);
  void KeepWholeNumbers(Group group);
  void CheckMeshesOf(const PlacedVariable& first);
  void CheckNumbers(Group group);
  Fault& AddFault(const PlacedVariable& variable, Finding::Kind kind);
  [[nodiscard]] std::string TextOf(const Fault& fault, const PlacedVariable& variable) const;

  const LbtLbf::LbFile* file_;
  std::shared_ptr<LbtTev::ModelStream> heavy_;
  LbtTev::ModelStream::Request request_;
  const StreamMap* map_;
  BlockSurvey* survey_;
  std::vector<PlacedVariable> variables_;
  std::vector<PlacedVariable> firsts_;  // of each geometry
  std::vector<Fault> faults_;
  std::size_t told_ = 0;
  Reasons reasons_;
  std::map<DataRange, WholeNumbers> wholes_;  // of faces and lengths
  std::vector<unsigned int> values_;
  std::uint64_t claimed_ = 0;
  std::size_t skipped_ = 0;
};

}  // namespace LbtTev::Check
