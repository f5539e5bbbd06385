#pragma once

#include <cstddef>
#include <memory>
#include <tuple>

#include "Lbt/Tev/Analysis/Arrays.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Remembered.h"

namespace LbtTev::Analysis {

/// Checks loaded faces of one model. Very many meshes may share them: they are looked at once, and
/// what has to be looked at again counts as bytes that were copied from the heavy data.
class FaceChecks {
 public:
  explicit FaceChecks(const Tree& tree) : heavy_(tree.GetStreams().heavy) {}

  /// It stands until the next call. Throws "Out of Bounds" ("The model refers to its data too
  /// often").
  [[nodiscard]] const FaceExtent& ExtentOf(const LoadedArray& faces, const LoadedArray& lengths);

  /// The same of faces of a mesh of "points" points. Throws as above, and "Model Error" for damage.
  const FaceExtent& Check(const LoadedArray& faces, const LoadedArray& lengths,
                          std::size_t points) {
    const FaceExtent& extent = ExtentOf(faces, lengths);
    CheckFaces(extent, points);
    return extent;
  }

 private:
  std::shared_ptr<ModelStream> heavy_;
  Remembered<std::tuple<Identity, Identity>, FaceExtent> extents_;
};

}  // namespace LbtTev::Analysis
