// Opens models for the verbs, and tells what of one is lost.

#include "tev/OpenedModel.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/Exception.h"
#include "tev/VisibleText.h"

namespace {

using Lbt::Util::Exception;
using LbtLbf::LbFile;
using LbtTev::Analysis::ShownName;

/// What the index lists. Readers append an empty block, which lies nowhere, for each stream that
/// they miss.
std::span<const LbtLbf::IndexItem> StoredItems(const LbtLbf::Index& index) {
  const auto& items = index.GetItems();
  const auto end = std::find_if(items.begin(), items.end(),
                                [](const LbtLbf::IndexItem& item) { return item.position == 0; });
  return {items.begin(), end};
}

/// Where the file ends before its blocks do; none where it has them all. Later blocks share the
/// cause of the first.
std::optional<std::string> CutText(const LbFile& file) {
  const std::uint64_t size = file.GetSize().value_or(0);
  const std::span<const LbtLbf::IndexItem> items = StoredItems(file.GetIndex());
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (items[i].position + items[i].size > size) {
      const std::uint64_t end = items.back().position + items.back().size;
      const bool isLast = i + 1 == items.size();
      return "the file ends " + Counted(end - size, "byte") + " early, in " +
             LbtLbf::TextOf({i, ShownName(items[i].name)}) +
             (isLast ? "" : " of " + std::to_string(items.size()) + " blocks");
    }
  }
  return std::nullopt;
}

void TellCut(const LbFile& file, AnswerWriter& writer) {
  if (auto text = CutText(file)) {
    writer.AddMissing(std::move(*text));
  }
}

constexpr const char* kNoModel = "its index has no stream of a model";

/// Tells "writer" of streams that are missing, and what is unknown without them.
void TellMissing(const LbtTev::StreamsFound& streams, AnswerWriter& writer) {
  const LbtTev::StreamNames names;
  LostData& lost = writer.Lost();
  for (const std::string& name : streams.missing) {
    writer.AddMissing("there is no stream \"" + name + '"');
    lost.hasAttributes = true;
    lost.hasRecords = lost.hasRecords || name == names.tree;
    lost.isLightOfAll = lost.isLightOfAll || name == names.light;
  }
}

std::string LostPart(LbtTev::LoadFailure::Part part) {
  using Part = LbtTev::LoadFailure::Part;
  switch (part) {
    case Part::Index:
      return "the index";
    case Part::GlobalInformation:
      return "the programs";
    case Part::RecordCount:
      return "the tree";
    case Part::Record:
      return "the tree from record ";
    case Part::NodeData:
      return "the data of node ";
    case Part::NodeSets:
      return "the node sets of node ";
  }
  return "";
}

/// What is lost, why, and where that was found: "the node sets of node 7 (Sets): Not enough bytes
/// in the block, at byte 455 of Heavy Data, in block 5".
std::string TextOf(const LbtTev::LoadFailure& failure, LbFile& file) {
  using Part = LbtTev::LoadFailure::Part;
  std::string text = LostPart(failure.part);
  if (failure.part == Part::Record) {
    text += std::to_string(failure.record) + " on";
  } else if (failure.part == Part::NodeData || failure.part == Part::NodeSets) {
    text += std::to_string(failure.nodeId) + " (" + ShownName(failure.nodeName) + ')';
  }
  text += ": " + (failure.refusedBlock ? TextOnRefused(*failure.refusedBlock)
                                       : ReasonOf(*failure.exception));
  if (failure.stream.empty()) {
    return text;
  }
  const auto block = failure.refusedBlock  // which has been named
                         ? std::nullopt
                         : file.FindBlockAt(failure.stream, failure.position);
  return text + ", " + LbtLbf::TextOfByte(failure.position, failure.stream, block);
}

/// Goes on after damage and remembers what is missing.
class Loading : public LbtTev::LoadObserver {
 public:
  Loading(LbFile& file, LostData& lost) : file_(&file), lost_(&lost) {}

  /// No writer means it, and no model is empty by it.
  void OnRecordCount(int count) override {
    if (count < 0) {
      lost_->hasRecords = true;
      missing_.push_back("the tree: the number of its records is " + std::to_string(count));
    }
  }

  void OnRecord(const LbtTev::TreeRecord& /*record*/) override {}
  void OnNode() override {}

  /// Nothing is worth anything after a lack of memory, a failing disk, or without an index.
  bool OnFailure(const LbtTev::LoadFailure& failure) override {
    isIndexLost_ = failure.part == Part::Index;
    if (isIndexLost_ || LbtLbf::IsLackOfMemory(*failure.exception) ||
        IsOfTheSystem(*failure.exception)) {
      return false;
    }
    NoteLoss(failure);
    if (failure.isConsequence) {
      ++consequences_;
    } else {
      Add([&] { return TextOf(failure, *file_); });
    }
    return true;
  }

  /// Looks for parts without a geometry, once all is loaded.
  void FindLostParts(const LbtTev::Tree& tree) {
    for (const auto& [id, entry] : tree.GetNodes()) {
      if (LbtTev::NodeCast<LbtTev::Shape>(entry.data) != nullptr &&
          LbtTev::Analysis::GeometryOf(tree, entry) == nullptr) {
        Add([id = id, node = entry.data] {
          return "the geometry of part " + std::to_string(id) + " (" + ShownName(node->name) + ')';
        });
      }
    }
  }

  /// Whether a read failed within the file, which no damage explains.
  [[nodiscard]] bool IsOfTheSystem(const std::exception& exception) const {
    const auto* known = dynamic_cast<const Exception*>(&exception);
    return known != nullptr && known->GetType() == Exception::ErrorType::ReadError &&
           !file_->GetIndex().IsEmpty() && !CutText(*file_);
  }

  [[nodiscard]] bool IsIndexLost() const { return isIndexLost_; }

  void Tell(AnswerWriter& writer) const {
    for (const std::string& text : missing_) {
      writer.AddMissing(text);
    }
    if (others_ > 0) {
      writer.AddMissing(std::to_string(others_) + (others_ == 1 ? " more loss" : " more losses"),
                        others_);
    }
    if (consequences_ > 0) {
      writer.AddMissing(
          std::to_string(consequences_) +
              (consequences_ == 1 ? " more loss that follows" : " more losses that follow") +
              " from the others",
          consequences_);
    }
  }

 private:
  using Part = LbtTev::LoadFailure::Part;

  /// Takes the text of a loss; makes none where there are so many that it will not be told.
  template <class MakeText>
  void Add(const MakeText& makeText) {
    constexpr std::size_t kMost = 100;
    if (missing_.size() >= kMost) {
      ++others_;
    } else {
      missing_.push_back(makeText());
    }
  }

  void NoteLoss(const LbtTev::LoadFailure& failure) {
    lost_->hasRecords =
        lost_->hasRecords || failure.part == Part::RecordCount || failure.part == Part::Record;
    if (failure.part == Part::NodeData) {
      lost_->hasAttributes = true;
      if (failure.stream == LbtTev::StreamNames().light) {
        lost_->lightOf.insert(failure.nodeId);
      }
    }
  }

  LbFile* file_;
  LostData* lost_;
  bool isIndexLost_ = false;
  std::vector<std::string> missing_;
  std::size_t others_ = 0;        ///< told by their number alone
  std::size_t consequences_ = 0;  ///< the same
};

/// That the index cannot be read, why, and where it is.
Failure IndexFailure(const LbFile& file, const std::exception& exception) {
  const std::uint64_t size = file.GetSize().value_or(0);
  if (size < LbFile::kHeaderSize) {
    return {FailureCode::Damaged, "the file ends before its header does"};
  }
  const LbtLbf::Index& index = file.GetIndex();
  const auto& second = index.GetContinuation();
  const std::uint64_t end = index.GetIndexPosition() + index.GetIndexSize();
  const std::string place =
      second ? "in " + LbtLbf::TextOf({second->number, ShownName(second->stream)})
             : "at byte " + std::to_string(index.GetIndexPosition());
  const std::string reason =
      !second && end > size
          ? "the file ends " + Counted(end - size, "byte") + " before the index does"
          : ReasonOf(exception);
  return {FailureCode::Damaged, "the index " + place + ": " + reason};
}

/// A version that is too new is told when the file is opened. Later, the same exception is about a
/// record.
template <class Open>
void TellingVersions(LbFile& file, Open open) {
  try {
    open();
  } catch (const Exception& exception) {
    if (exception.GetType() == Exception::ErrorType::UnknownVersion && file.GetIndex().IsEmpty()) {
      throw VersionFailure(file);
    }
    throw;
  }
}

}  // namespace

void OpenContainer(LbFile& file, const Input& input, AnswerWriter& writer) {
  file.GetIndex().SetRefusalLine(LbtLbf::RefusalLine::LeftOut);
  TellingVersions(file, [&] {
    bool wideOffsets = false;
    static_cast<void>(LbtTev::OpenContainer(file, input.source, wideOffsets, TakeFile(input)));
  });
  try {
    file.ReadIndex();
  } catch (const Exception& exception) {
    if (LbtLbf::IsLackOfMemory(exception)) {
      throw;
    }
    throw IndexFailure(file, exception);
  }
  TellCut(file, writer);
  // The blocks of any container can be told.
  if (const auto streams = LbtTev::FindStreams(file.GetIndex()); streams.isAny) {
    TellMissing(streams, writer);
  } else {
    writer.AddMissing(kNoModel);
  }
}

void LoadModel(LbtTev::Tree& tree, const Input& input, AnswerWriter& writer) {
  LbFile& file = tree.GetFile();
  LbtLbf::Index& index = file.GetIndex();
  index.SetRefusalLine(LbtLbf::RefusalLine::LeftOut);  // answers name the block
  // Also for what is loaded later, as long as the tree lives.
  index.ObserveLoads([&index, progress = &writer.GetProgress()](std::size_t number) {
    progress->ShowBlocks(number, index.GetItems().size());
  });
  Loading loading(file, writer.Lost());
  errno = 0;  // reads that end early leave it
  try {
    TellingVersions(file,
                    [&] { LbtTev::OpenModel(tree, input.source, &loading, TakeFile(input)); });
  } catch (const Exception& exception) {
    const int error = errno;
    if (loading.IsOfTheSystem(exception)) {
      throw Failure(FailureCode::IoError,
                    error == 0 ? ReasonOf(exception) : SystemFailure("cannot read", error).what());
    }
    if (loading.IsIndexLost() && !LbtLbf::IsLackOfMemory(exception)) {
      throw IndexFailure(file, exception);
    }
    throw;
  }
  const LbtTev::StreamsFound streams = LbtTev::FindStreams(index);
  if (!streams.isAny) {
    throw Failure(FailureCode::Damaged, kNoModel);
  }
  TellCut(file, writer);
  TellMissing(streams, writer);
  loading.FindLostParts(tree);
  loading.Tell(writer);
}
