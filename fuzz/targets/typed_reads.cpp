// Typed reads of every kind, in an order that the file's last bytes say.

#include <algorithm>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Tev/Attributes.h"
#include "Lbt/Tev/BlockVersionedIo.h"
#include "Lbt/Tev/OpenModel.h"
#include "Target.h"

namespace {

template <class T>
void Read(LbtLbf::LbFile& file, const std::string& name) {
  T value{};
  file.Get(name, value);
}

void ReadAttributes(LbtLbf::LbFile& file, const std::string& name) {
  LbtUtil::AttributeMap attributes;
  LbtUtil::ReadAttributesFromLbf(file, name, attributes);
}

template <class T>
void ReadRecord(LbtLbf::LbFile& file, const std::string& name) {
  T value;
  LbtTev::CopyFromBlock_Versioned(file.GetReadingBlock(name), value);
}

void ReadModifiers(LbtLbf::LbFile& file, const std::string& name) {
  std::vector<LbtTev::ModifierInfo> modifiers;
  LbtLbf::CopyFromBlock(file.GetReadingBlock(name), modifiers);
}

constexpr void (*kReads[])(LbtLbf::LbFile&, const std::string&) = {
    Read<unsigned char>,
    Read<bool>,
    Read<unsigned int>,
    Read<float>,
    Read<unsigned long>,
    Read<std::string>,
    Read<std::vector<unsigned char>>,
    Read<std::vector<unsigned int>>,
    Read<std::vector<float>>,
    Read<std::vector<double>>,
    Read<std::vector<std::string>>,
    ReadAttributes,
    ReadRecord<LbtTev::Material>,
    ReadRecord<LbtTev::ModifierInfo>,
    ReadModifiers,
};

}  // namespace

void tevfuzz::TryFile(const std::string& path, std::span<const std::uint8_t> bytes) {
  LbtLbf::LbFile file;
  bool wideOffsets = false;
  LbtTev::OpenContainer(file, path, wideOffsets);
  file.ReadIndex();
  const LbtLbf::Index& index = file.GetIndex();
  std::vector<std::string> names;
  for (const std::size_t entry : index.FirstEntries()) {
    names.push_back(index.GetItems()[entry].name);
  }
  constexpr std::size_t kSteps = 64;
  for (const std::uint8_t step : bytes.last(std::min(bytes.size(), kSteps))) {
    if (names.empty()) {
      return;
    }
    try {
      kReads[step % std::size(kReads)](file, names[step / 16U % names.size()]);
    } catch (const std::exception&) {
      continue;  // what is left of the stream is read all the same
    }
  }
}
