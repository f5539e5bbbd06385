// Looks once at faces that many meshes share.

#include "Lbt/Tev/Analysis/FaceChecks.h"

namespace LbtTev::Analysis {

const FaceExtent& FaceChecks::ExtentOf(const LoadedArray& faces, const LoadedArray& lengths) {
  return extents_.Of({Identity(faces), Identity(lengths)}, 0, [&] {
    const auto nodes = faces.Wholes();
    const auto counts = lengths.Wholes();
    heavy_->Charge(nodes.size_bytes() + counts.size_bytes());
    return Analysis::ExtentOf(nodes, counts);
  });
}

}  // namespace LbtTev::Analysis
