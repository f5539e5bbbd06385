#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Tev/Tree.h"

namespace LbtTev {

/// Opens a container and checks its signature and version. Returns the version text;
/// "wideOffsets" is set where it is 0.7 or later: positions have 64 bits there. Throws "Format Not
/// Supported" for a file without the signature, "Unknown Version", and what LbFile::OpenFile does.
/// Here and below, "opened" is the file at "path" where it is open already.
std::string OpenContainer(LbtLbf::LbFile& file, const std::string& path, bool& wideOffsets,
                          LbtLbf::StoredFile opened = {});

/// The streams of a container, against those that a model consists of.
struct StreamsFound {
  bool isAny = false;  ///< whether there is one of a model's at all
  /// Those that are missing, that of the tree first. Every model has a tree; other streams it may
  /// do without. They are missing where there is one of a name that nothing reads: one changed
  /// letter in the index hides a whole stream from every reader.
  std::vector<std::string> missing{};
  std::vector<std::size_t> unknown{};  ///< the first block of each stream that nothing reads
};

/// Tells the streams by the index, which must have been read.
[[nodiscard]] StreamsFound FindStreams(const LbtLbf::Index& index);

/// Opens a model and loads its tree; numbers of variables stay in the file, which
/// stays open. Throws any Lbt::Util::Exception of the layers below, std::out_of_range
/// for damaged node sets, and std::exception for a block that zlib refuses.
void OpenModel(Tree& tree, const std::string& path, LoadObserver* observer = nullptr,
               LbtLbf::StoredFile opened = {});

/// A model for a program that ends with it. Its tree is left to the end of the process, since to
/// free hundreds of thousands of small pieces one by one takes a third of a report's time; a large
/// one is loaded into large pages, which changes for good how the heap of the process grows. Its
/// file is closed with this object. A process that makes several has the memory of all.
class LastingModel {
 public:
  LastingModel();
  ~LastingModel() { tree_->GetFile().CloseFile(); }
  LastingModel(const LastingModel&) = delete;
  LastingModel& operator=(const LastingModel&) = delete;

  /// Loads the model at "path". Throws what OpenModel does.
  void Open(const std::string& path);

  [[nodiscard]] const Tree& GetTree() const { return *tree_; }

 private:
  Tree* tree_;
};

}  // namespace LbtTev
