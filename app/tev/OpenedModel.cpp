// Opens models for the verbs, and tells what of one is lost.

#include "tev/OpenedModel.h"

#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/Exception.h"

namespace {

using Lbt::Util::Exception;
using LbtLbf::LbFile;

/// The end of the file is known to be lost where blocks lie beyond it. Later blocks share the cause
/// of the first.
void TellCut(const LbFile& file, AnswerWriter& writer) {
  const std::uint64_t size = file.GetSize().value_or(0);
  const auto& items = file.GetIndex().GetItems();
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (items[i].position + items[i].size > size) {
      const std::uint64_t end = items.back().position + items.back().size;
      const bool isLast = i + 1 == items.size();
      writer.AddMissing("the file ends " + std::to_string(end - size) + " bytes early, in " +
                        NameOf({i, items[i].name}) +
                        (isLast ? "" : " of " + std::to_string(items.size()) + " blocks"));
      return;
    }
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

/// Reports how far a load is.
class LoadProgress : public LbtTev::LoadObserver {
 public:
  LoadProgress(const LbFile& file, Progress& progress) : file_(&file), progress_(&progress) {}

  void OnRecord(const LbtTev::TreeRecord& /*record*/) override {
    constexpr std::size_t kEvery = 256;
    if (++records_ % kEvery == 0) {
      const auto last = file_->GetIndex().LastLoaded();
      progress_->ShowBlocks(last ? last->number : 0, file_->GetIndex().GetItems().size());
    }
  }

  void OnNode() override {}

 private:
  const LbFile* file_;
  Progress* progress_;
  std::size_t records_ = 0;
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
  LoadProgress progress(tree.GetFile(), writer.GetProgress());
  TellingVersions(tree.GetFile(), [&] { LbtTev::OpenModel(tree, input.source, &progress); });
  RequireModelStreams(tree.GetFile());
  TellCut(tree.GetFile(), writer);
}

void TellLostParts(const LbtTev::Analysis::Model& model, AnswerWriter& writer) {
  for (const LbtTev::Analysis::Part& part : model.Parts()) {
    if (part.geometry == nullptr) {
      writer.AddMissing("the geometry of part " + std::to_string(part.id) + " (" + part.name + ")");
    }
  }
}
