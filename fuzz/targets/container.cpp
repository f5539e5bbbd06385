// The container alone: index, every block, seeks and reads of bytes.

#include <algorithm>
#include <array>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Tev/OpenModel.h"
#include "Target.h"

namespace {

template <class Step>
void Absorb(Step step) {
  try {
    step();
  } catch (const std::exception&) {
    return;  // the next step goes on with what the failure left
  }
}

}  // namespace

void tevfuzz::TryFile(const std::string& path, std::span<const std::uint8_t> bytes) {
  LbtLbf::LbFile file;
  bool wideOffsets = false;
  LbtTev::OpenContainer(file, path, wideOffsets);
  file.ReadIndex();
  LbtLbf::Index& index = file.GetIndex();
  std::vector<std::string> names;
  for (const std::size_t entry : index.FirstEntries()) {
    names.push_back(index.GetItems()[entry].name);
  }
  // The last bytes of the file say in which order streams are sought and read.
  constexpr std::size_t kSteps = 48;
  for (const std::uint8_t step : bytes.last(std::min(bytes.size(), kSteps))) {
    if (names.empty()) {
      return;
    }
    const std::string& name = names[step % names.size()];
    std::array<unsigned char, 64> destination{};
    Absorb([&] {
      if (step % 3 == 0) {
        file.SetBlockPosition(name, std::size_t{step} * step / 7);
      } else {
        file.Get(name, destination.data(), step % destination.size());
      }
    });
  }
  for (std::size_t entry = 0; entry < index.GetItems().size(); ++entry) {
    Absorb([&] { static_cast<void>(index.GetBlock(entry)); });
  }
}
