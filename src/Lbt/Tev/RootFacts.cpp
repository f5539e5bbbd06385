// What the root of a model tells of it.

#include "Lbt/Tev/RootFacts.h"

#include "Lbt/Tev/Node.h"

namespace LbtTev {

namespace {

std::optional<std::string> FindText(const LbtUtil::AttributeMap& attributes,
                                    std::string_view name) {
  const auto found = attributes.find(std::string(name));
  return found == attributes.end() ? std::nullopt
                                   : std::optional(found->second.GetAttributeString());
}

}  // namespace

NativeFile NativeFileOf(const LbtUtil::AttributeMap& attributes, std::string_view pathName,
                        std::string_view sizeName, std::string (*formatOf)(const std::string&)) {
  NativeFile file;
  file.path = FindText(attributes, pathName);
  file.size = FindText(attributes, sizeName);
  if (file.path) {
    file.type = formatOf(*file.path);
  }
  return file;
}

const LbtUtil::AttributeMap& RootAttributesOf(const Tree& tree) {
  static const LbtUtil::AttributeMap none;
  const auto* entry = tree.FindNode(Tree::kRootId);
  const auto* root = entry == nullptr ? nullptr : NodeCast<Group>(entry->data);
  return root == nullptr ? none : root->attributes;
}

}  // namespace LbtTev
