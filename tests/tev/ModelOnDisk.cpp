// Models in a scratch folder, open or loaded.

#include "ModelOnDisk.h"

#include "Failure.h"
#include "support/ContainerWriter.h"

namespace tevtest {
namespace {

std::string ContainerOf(
    std::initializer_list<std::pair<std::string_view, std::string_view>> blocks) {
  ContainerWriter writer;
  for (const auto& [name, payload] : blocks) {
    writer.AddRaw(name, payload);
  }
  return writer.Build().bytes;
}

}  // namespace

ModelOnDisk::ModelOnDisk(const std::string& bytes) {
  file_.OpenFile(directory_.Write("model.tev", bytes), "rb");
  file_.ReadIndex();
}

ModelOnDisk::ModelOnDisk(
    std::initializer_list<std::pair<std::string_view, std::string_view>> blocks)
    : ModelOnDisk(ContainerOf(blocks)) {}

unsigned int ModelOnDisk::NextByte(std::string_view stream) {
  unsigned char byte = 0;
  file_.Get(stream, byte);
  return byte;
}

std::vector<std::string> Outline(const LbtTev::Tree& tree) {
  std::vector<std::string> lines;
  for (const auto& [id, entry] : tree.GetNodes()) {
    const LbtTev::Node* node = entry.data;
    lines.push_back(std::to_string(id) +
                    (node == nullptr ? "" : " " + node->GetType() + " " + node->name));
  }
  return lines;
}

std::vector<unsigned int> LinksOf(const LbtTev::Tree& tree, unsigned int id) {
  const auto& entry = tree.GetReqNode(id);
  return {entry.parent, entry.previousSibling, entry.nextSibling, entry.firstChild,
          entry.lastChild};
}

std::string FailureOfLoading(const ModelWriter& model) {
  return FailureOf([&] { LoadedTree{model}; });
}

}  // namespace tevtest
