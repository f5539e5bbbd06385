// Opens containers and models.

#include "Lbt/Tev/OpenModel.h"

#include "Lbt/Log/Raise.h"
#include "Lbt/Tev/Group.h"

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
std::string OpenSigned(LbtLbf::LbFile& file, const std::string& path) {
  file.OpenFile(path, "rb");
  if (!file.HasSignature()) {
    constexpr unsigned long kLine = 729;  // fixed: part of the text that users know
    const std::string message = path + " is not a Tev file";
    Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::FormatNotSupported, message.c_str(),
                    "include/Lbt/Tev/Tree", kLine);
  }
  return file.ReadVersion();
}

}  // namespace

std::string OpenContainer(LbtLbf::LbFile& file, const std::string& path, bool& wideOffsets) {
  std::string version = OpenSigned(file, path);
  LbtLbf::LbFile::CheckSupport(version, wideOffsets);
  return version;
}

void OpenModel(Tree& tree, const std::string& path, LoadObserver* observer) {
  LbtLbf::LbFile& file = tree.GetFile();
  tree.SetContainerVersion(OpenSigned(file, path));
  bool wideOffsets = false;
  LbtLbf::LbFile::CheckSupport(tree.GetContainerVersion(), wideOffsets);
  const unsigned int parentId = GraftingParent(tree);
  tree.LoadGlobalInfo(file, observer);
  if (file.GetIndex().IsEmpty() && tree.GetStreams().global.IsGivenUp()) {
    return;  // an index that cannot be read: the observer wants to go on, but there is nothing
  }
  tree.LoadTree(file, parentId, wideOffsets, observer);
  tree.UpdateLinkedBuffers();
  if (tree.GetContainerVersion() != "0.1") {
    // What is loaded after a model goes by its version for this moment only, and by
    // the newest one from then on.
    LbtLbf::tev_file_version = tree.GetContainerVersion();
    LbtLbf::tev_file_version = "1.3";
  }
}

}  // namespace LbtTev
