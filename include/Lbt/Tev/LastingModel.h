#pragma once

#include <string>

#include "Lbt/Tev/Tree.h"

namespace LbtTev {

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
