#pragma once

#include <string>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Tev/Tree.h"

namespace LbtTev {

/// Opens a container and checks its signature and version. Returns the version text;
/// "wideOffsets" is set where it is 0.7 or later: positions have 64 bits there. Throws "Format Not
/// Supported" for a file without the signature, "Unknown Version", and what LbFile::OpenFile does.
std::string OpenContainer(LbtLbf::LbFile& file, const std::string& path, bool& wideOffsets);

/// Opens a model and loads its tree; numbers of variables stay in the file, which
/// stays open. Throws any Lbt::Util::Exception of the layers below, std::out_of_range
/// for damaged node sets, and std::exception for a block that zlib refuses.
void OpenModel(Tree& tree, const std::string& path, LoadObserver* observer = nullptr);

}  // namespace LbtTev
