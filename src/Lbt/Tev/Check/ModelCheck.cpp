// The check of a model file as a whole.

#include "Lbt/Tev/Check/ModelCheck.h"

#include <array>
#include <optional>
#include <string>
#include <utility>

#include "BlockSurvey.h"
#include "ContainerCheck.h"
#include "Lbt/Tev/Check/ForeignFile.h"
#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/Tree.h"
#include "Lbt/Util/Exception.h"
#include "LoadFollower.h"
#include "RecordCheck.h"
#include "VariableCheck.h"

namespace LbtTev::Check {

namespace {

/// Checks the model in an open container.
class ContentsCheck {
 public:
  /// The index must have been read.
  ContentsCheck(LbtTev::Tree& tree, bool wideOffsets, FindingLog& log)
      : tree_(&tree),
        wideOffsets_(wideOffsets),
        log_(&log),
        survey_(tree.GetFile(), log),
        map_(survey_.Blocks()),
        follower_(tree, map_, survey_, log) {}

  void Run() {
    CheckUnused(tree_->GetFile(), survey_.Blocks(), *log_);
    tree_->LoadGlobalInfo(tree_->GetFile(), &follower_);
    LoadTree();
    survey_.Finish(map_.tree.Stream());
    survey_.Finish(map_.light.Stream());
    follower_.FindUnused();
    CheckStructure({follower_.Records(), follower_.AreAllRead()}, map_.tree, *log_);
    tree_->UpdateLinkedBuffers();
    auto used = CheckVariables(
        *tree_, map_.heavy, survey_,
        {.mayBeUnread = [this](unsigned int id) { return follower_.MayBeUnread(id); },
         .place = [this](unsigned int id,
                         Finding& finding) { follower_.PlaceGeometry(id, finding); }},
        *log_);
    survey_.FinishAll();
    follower_.FindUnusedElsewhere(std::move(used));
  }

 private:
  void LoadTree() {
    if (map_.tree.IsEmpty()) {
      log_->Add(
          {.kind = Finding::Kind::MissingTree,
           .text = "there is no stream \"" + map_.tree.Stream() + "\", so the model is empty"});
    } else if (LooksAtCount()) {
      tree_->LoadTree(tree_->GetFile(), 0, wideOffsets_, &follower_);
    }
  }

  /// Looks how many records there are to be; false where there are none to be read.
  bool LooksAtCount() {
    LbtTev::ModelStream& stream = tree_->GetStreams().tree;
    int count = 0;
    try {
      count = LbtTev::ReadTreeRecordCount(stream);
      stream.Seek(0);
    } catch (const std::exception& exception) {
      if (!follower_.OnFailure({.part = LbtTev::LoadFailure::Part::RecordCount,
                                .stream = map_.tree.Stream(),
                                .refusedBlock = stream.RefusedBlock(),
                                .exception = &exception})) {
        throw;
      }
      return false;
    }
    if (count >= 0) {
      follower_.SetCount(static_cast<std::size_t>(count));
      return true;
    }
    Finding finding{.kind = Finding::Kind::UnreadableRecord,
                    .text = "the number of tree records is " + std::to_string(count) +
                            ", below 0, so no record is read"};
    map_.tree.Place(0, finding);
    log_->Add(std::move(finding));
    return false;
  }

  LbtTev::Tree* tree_;
  bool wideOffsets_;
  FindingLog* log_;
  BlockSurvey survey_;
  ModelMap map_;
  LoadFollower follower_;
};

std::string LookOfFile(LbtLbf::LbFile& file) {
  std::array<unsigned char, kLookedAt> bytes{};
  const std::size_t count = file.ReadStored(0, bytes);
  const std::string start(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
  return std::string(LookOf(start));
}

/// Opens a container and returns its version text; none where it is no container.
std::optional<std::string> OpenTev(LbtLbf::LbFile& file, const std::string& path,
                                   LbtLbf::StoredFile opened, bool& wideOffsets) {
  try {
    return LbtTev::OpenContainer(file, path, wideOffsets, std::move(opened));
  } catch (const Lbt::Util::Exception& exception) {
    if (exception.GetType() != Lbt::Util::Exception::ErrorType::FormatNotSupported) {
      throw;
    }
    return std::nullopt;
  }
}

}  // namespace

CheckResult CheckModel(const std::string& path, const FindingSink& sink, Limit limit,
                       const std::function<void(std::size_t, std::size_t)>& onBlock,
                       LbtLbf::StoredFile opened) {
  FindingLog log(sink, limit);
  LbtTev::Tree tree;
  LbtLbf::Index& index = tree.GetFile().GetIndex();
  index.SetRefusalLine(LbtLbf::RefusalLine::LeftOut);  // findings name the blocks
  if (onBlock) {
    index.ObserveLoads([&](std::size_t number) { onBlock(number, index.GetItems().size()); });
  }
  bool wideOffsets = false;
  const std::optional<std::string> version =
      OpenTev(tree.GetFile(), path, std::move(opened), wideOffsets);
  if (!version) {
    CheckResult result;
    result.verdict = Verdict::NotAModel;
    result.looksLike = LookOfFile(tree.GetFile());
    return result;
  }
  if (CheckIndex(tree.GetFile(), log)) {
    CheckVersion(*version, log);
    ContentsCheck(tree, wideOffsets, log).Run();
  }
  CheckResult result = log.Result();
  result.hasRefusedRead = tree.GetFile().HasRefusedRead();
  return result;
}

}  // namespace LbtTev::Check
