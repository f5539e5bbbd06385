// Opens models for the verbs, and tells what of one is lost.

#include "tev/OpenedModel.h"

#include <cerrno>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/Exception.h"

namespace {

using Lbt::Util::Exception;
using LbtLbf::LbFile;

/// Where the file ends before its blocks do; none where it has them all. Later blocks share the
/// cause of the first.
std::optional<std::string> CutText(const LbFile& file) {
  const std::uint64_t size = file.GetSize().value_or(0);
  const auto& items = file.GetIndex().GetItems();
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (items[i].position + items[i].size > size) {
      const std::uint64_t end = items.back().position + items.back().size;
      const bool isLast = i + 1 == items.size();
      return "the file ends " + std::to_string(end - size) + " bytes early, in " +
             NameOf({i, items[i].name}) +
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

/// A container of anything else is no empty model.
void RequireModelStreams(const LbFile& file) {
  const LbtTev::StreamNames names;
  const auto& streams = file.GetIndex().GetStreams();
  for (const std::string& name :
       {names.tree, names.light, names.heavy, names.attributes, names.resources, names.global}) {
    if (streams.contains(name)) {
      return;
    }
  }
  throw Failure(FailureCode::Damaged, "its index has no stream of a model");
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
/// in the block, at byte 455 of Heavy Data".
std::string TextOf(const LbtTev::LoadFailure& failure) {
  using Part = LbtTev::LoadFailure::Part;
  std::string text = LostPart(failure.part);
  if (failure.part == Part::Record) {
    text += std::to_string(failure.record) + " on";
  } else if (failure.part == Part::NodeData || failure.part == Part::NodeSets) {
    text += std::to_string(failure.nodeId) + " (" + std::string(failure.nodeName) + ')';
  }
  text += ": " + (failure.refusedBlock ? "zlib refuses the data of " + NameOf(*failure.refusedBlock)
                                       : ReasonOf(*failure.exception));
  return failure.stream.empty() ? text
                                : text + ", at byte " + std::to_string(failure.position) + " of " +
                                      std::string(failure.stream);
}

/// Goes on after damage and remembers what is missing.
class Loading : public LbtTev::LoadObserver {
 public:
  explicit Loading(const LbFile& file) : file_(&file) {}

  void OnRecord(const LbtTev::TreeRecord& /*record*/) override {}
  void OnNode() override {}

  /// Nothing is worth anything after a lack of memory, a failing disk, or without an index.
  bool OnFailure(const LbtTev::LoadFailure& failure) override {
    if (failure.part == LbtTev::LoadFailure::Part::Index ||
        LbtLbf::IsLackOfMemory(*failure.exception) || IsOfTheSystem(*failure.exception)) {
      return false;
    }
    constexpr std::size_t kMost = 100;
    if (failure.isConsequence || missing_.size() >= kMost) {
      ++others_;
    } else {
      missing_.push_back(TextOf(failure));
    }
    return true;
  }

  /// Whether a read failed within the file, which no damage explains.
  [[nodiscard]] bool IsOfTheSystem(const std::exception& exception) const {
    const auto* known = dynamic_cast<const Exception*>(&exception);
    return known != nullptr && known->GetType() == Exception::ErrorType::ReadError &&
           !file_->GetIndex().IsEmpty() && !CutText(*file_);
  }

  void Tell(AnswerWriter& writer) const {
    for (const std::string& text : missing_) {
      writer.AddMissing(text);
    }
    if (others_ > 0) {
      writer.AddMissing(std::to_string(others_) +
                        (others_ == 1 ? " more loss that follows" : " more losses that follow") +
                        " from the others");
    }
  }

 private:
  const LbFile* file_;
  std::vector<std::string> missing_;
  std::size_t others_ = 0;
};

/// A version that is too new is told when the file is opened. Later, the same exception is about a
/// record.
template <class Open>
void TellingVersions(const LbFile& file, Open open) {
  try {
    open();
  } catch (const Exception& exception) {
    if (exception.GetType() == Exception::ErrorType::UnknownVersion && file.GetIndex().IsEmpty()) {
      throw Failure(FailureCode::UnsupportedVersion, ReasonOf(exception));
    }
    throw;
  }
}

}  // namespace

void OpenContainer(LbFile& file, const Input& input, AnswerWriter& writer) {
  TellingVersions(file, [&] {
    bool wideOffsets = false;
    static_cast<void>(LbtTev::OpenContainer(file, input.source, wideOffsets));
  });
  file.ReadIndex();
  TellCut(file, writer);
}

void LoadModel(LbtTev::Tree& tree, const Input& input, AnswerWriter& writer) {
  const LbFile& file = tree.GetFile();
  LbtLbf::Index& index = tree.GetFile().GetIndex();
  // Also for what is loaded later, as long as the tree lives.
  index.ObserveLoads([&index, progress = &writer.GetProgress()](std::size_t number) {
    progress->ShowBlocks(number, index.GetItems().size());
  });
  Loading loading(file);
  errno = 0;  // reads that end early leave it
  try {
    TellingVersions(file, [&] { LbtTev::OpenModel(tree, input.source, &loading); });
  } catch (const Exception& exception) {
    const int error = errno;
    if (loading.IsOfTheSystem(exception)) {
      throw Failure(FailureCode::IoError,
                    error == 0 ? ReasonOf(exception) : SystemFailure("cannot read", error).what());
    }
    throw;
  }
  RequireModelStreams(file);
  TellCut(file, writer);
  loading.Tell(writer);
}

void TellLostParts(const LbtTev::Analysis::Model& model, AnswerWriter& writer) {
  for (const LbtTev::Analysis::Part& part : model.Parts()) {
    if (part.geometry == nullptr) {
      writer.AddMissing("the geometry of part " + std::to_string(part.id) + " (" + part.name + ")");
    }
  }
}
