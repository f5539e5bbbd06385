// Opens models, and keeps one for the end of the process.

#include "Lbt/Tev/OpenModel.h"

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <forward_list>
#include <utility>

#include "Lbt/Log/Raise.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/MemoryUsage.h"

namespace LbtTev {

namespace {

/// The node under which a file is loaded: the root where it is a group made for
/// that, else none.
unsigned int GraftingParent(Tree& tree) {
  tree.SetCurrentId(Tree::kRootId);
  const auto* group = NodeCast<Group>(tree.GetCurrentNode().data);
  return group != nullptr && group->groupByte != 0 ? Tree::kRootId : 0;
}

/// Opens a container and returns its version text, which nobody has judged yet.
std::string OpenSigned(LbtLbf::LbFile& file, const std::string& path, LbtLbf::StoredFile opened) {
  if (opened.IsOpen()) {
    file.OpenFile(std::move(opened));
  } else {
    file.OpenFile(path, "rb");
  }
  if (!file.HasSignature()) {
    constexpr unsigned long kLine = 729;  // fixed: part of the text that users know
    const std::string message = path + " is not a Tev file";
    Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::FormatNotSupported, message.c_str(),
                    "include/Lbt/Tev/Tree", kLine);
  }
  return file.ReadVersion();
}

}  // namespace

std::string OpenContainer(LbtLbf::LbFile& file, const std::string& path, bool& wideOffsets,
                          LbtLbf::StoredFile opened) {
  std::string version = OpenSigned(file, path, std::move(opened));
  LbtLbf::LbFile::CheckSupport(version, wideOffsets);
  return version;
}

StreamsFound FindStreams(const LbtLbf::Index& index) {
  const auto known = StreamNames().All();
  const auto& second = index.GetContinuation();
  StreamsFound found;
  for (const std::size_t entry : index.FirstEntries()) {
    const std::string& name = index.GetItems()[entry].name;
    if (std::ranges::find(known, name) != known.end()) {
      found.isAny = true;
    } else if (!second || second->stream != name) {
      found.unknown.push_back(entry);
    }
  }
  const bool mayBeHidden = found.isAny && !found.unknown.empty();
  for (const std::string& name : known) {
    if (!index.HasEntries(name) && (name == known.front() || mayBeHidden)) {
      found.missing.push_back(name);
    }
  }
  return found;
}

void OpenModel(Tree& tree, const std::string& path, LoadObserver* observer,
               LbtLbf::StoredFile opened) {
  LbtLbf::LbFile& file = tree.GetFile();
  tree.SetContainerVersion(OpenSigned(file, path, std::move(opened)));
  bool wideOffsets = false;
  LbtLbf::LbFile::CheckSupport(tree.GetContainerVersion(), wideOffsets);
  const unsigned int parentId = GraftingParent(tree);
  tree.LoadGlobalInfo(file, observer);
  if (file.GetIndex().IsEmpty() && tree.GetStreams().global.IsGivenUp()) {
    return;  // an index that cannot be read: the observer wants to go on, but there is nothing
  }
  tree.LoadTree(file, parentId, wideOffsets, observer);
  tree.UpdateLinkedBuffers();
  // What is loaded after a model goes by the newest version. It is only written where somebody has
  // chosen another one: models may be opened in several threads.
  if (tree.GetContainerVersion() != "0.1" && LbtLbf::tev_file_version != LbtLbf::kNewestVersion) {
    LbtLbf::tev_file_version = LbtLbf::kNewestVersion;
  }
}

namespace {

/// Trees that are never destroyed, in static storage, so that leak checkers see them in use.
union LastingTrees {
  LastingTrees() : trees() {}
  // NOLINTNEXTLINE(modernize-use-equals-default): a defaulted one would be deleted
  ~LastingTrees() {}
  LastingTrees(const LastingTrees&) = delete;
  LastingTrees& operator=(const LastingTrees&) = delete;

  std::forward_list<Tree> trees;
};

Tree& NewLastingTree() {
  static LastingTrees lasting;
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-union-access): its only member, and always alive
  return lasting.trees.emplace_front();
}

constexpr std::uint32_t kLargeTree = 2048;  // nodes
constexpr int kGrowth = 16 * 1024 * 1024;

std::uintptr_t HeapEnd() { return std::bit_cast<std::uintptr_t>(sbrk(0)); }

/// Under a limit, memory that is taken ahead may be what is missing in the end.
bool IsMemoryLimited() {
  rlimit space{};
  rlimit data{};
  return getrlimit(RLIMIT_AS, &space) != 0 || getrlimit(RLIMIT_DATA, &data) != 0 ||
         space.rlim_cur != RLIM_INFINITY || data.rlim_cur != RLIM_INFINITY;
}

/// Asks the system for large pages after the heap once a model's tree turns out to be large:
/// its nodes would else cost a page fault for every 4 KiB. It is a request only; small models
/// and runs under a memory limit never come to it.
class HeapWatch final : public LoadObserver {
 public:
  HeapWatch() : asked_(HeapEnd()) {}

  void OnRecord(const TreeRecord& /*record*/) override {}
  void OnNode() override;

 private:
  void TakeStep(std::uintptr_t heapEnd);
  void AskForLargePages(std::uintptr_t heapEnd);

  std::uint32_t nodes_ = 0;
  bool isWatching_ = false;
  std::uintptr_t asked_;  // up to where; at first where the heap ended before the load
};

void HeapWatch::OnNode() {
  ++nodes_;
  if (nodes_ == kLargeTree && !IsMemoryLimited()) {
    isWatching_ = true;
    // From now on the heap grows in steps that are worth a request.
    static_cast<void>(mallopt(M_TOP_PAD, kGrowth));
    AskForLargePages(HeapEnd());
  } else if (isWatching_) {
    TakeStep(HeapEnd());
  }
}

/// A step of more than the tree takes is for the buffer of a block, most of which may never be
/// touched: one byte of it would cost a whole page.
void HeapWatch::TakeStep(std::uintptr_t heapEnd) {
  constexpr std::uintptr_t kLargestStep = kGrowth + kGrowth / 16;
  if (heapEnd > asked_ && heapEnd - asked_ <= kLargestStep) {
    AskForLargePages(heapEnd);
  }
  asked_ = std::max(asked_, heapEnd);
}

void HeapWatch::AskForLargePages(std::uintptr_t heapEnd) {
  const std::uintptr_t from = std::exchange(asked_, heapEnd);
  Lbt::Util::AskForLargePages(std::bit_cast<void*>(from), heapEnd - from);
}

}  // namespace

LastingModel::LastingModel() : tree_(&NewLastingTree()) {}

void LastingModel::Open(const std::string& path) {
  HeapWatch heapWatch;
  OpenModel(*tree_, path, &heapWatch);
}

}  // namespace LbtTev
