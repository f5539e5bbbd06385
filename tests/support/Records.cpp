// Writes versioned records and the lists of node sets.

#include "Records.h"

#include <span>

#include "ByteWriter.h"

namespace tevtest {
namespace {

ByteWriter& Floats(ByteWriter& writer, std::span<const float> values) {
  for (const float value : values)
    writer.F32(value);
  return writer;
}

/// The five lists as the sets give them.
struct FlatSets {
  std::vector<std::uint32_t> nameOffsets{0};
  std::string allNames;
  std::vector<std::uint32_t> memberOffsets{0};
  std::vector<std::uint32_t> firstValues;
  std::vector<std::uint32_t> secondValues;
};

FlatSets Flatten(const std::vector<NodeSet>& sets) {
  FlatSets flat;
  for (const NodeSet& set : sets) {
    flat.allNames += set.name;
    flat.nameOffsets.push_back(Narrow(flat.allNames.size()));
    for (const auto& [first, second] : set.members) {
      flat.firstValues.push_back(first);
      flat.secondValues.push_back(second);
    }
    flat.memberOffsets.push_back(Narrow(flat.firstValues.size()));
  }
  return flat;
}

}  // namespace

std::string Envelope::Wrap(std::string_view version, std::string_view fields) const {
  const std::string body = ByteWriter().Text(version).Raw(fields).Raw(trailing).Bytes();
  if (!sized)
    return body;
  const std::uint32_t size = recordSize.value_or(Narrow(sizeof(std::uint32_t) + body.size()));
  return ByteWriter().U32(size).Raw(body).Bytes();
}

std::string MaterialRecord::Encode() const {
  ByteWriter fields;
  Floats(fields, diffuse);
  Floats(fields, specular);
  Floats(fields, emissive);
  Floats(fields, ambient).F32(shininess);
  if (version != "0.1")
    fields.F32(factor);
  if (version != "0.1" && version != "0.2")
    fields.U8(flag);
  return envelope.Wrap(version, fields.Bytes());
}

std::string ModifierRecord::Encode() const {
  const std::string fields = ByteWriter()
                                 .Text(applicationName)
                                 .Text(applicationVersion)
                                 .Text(tevVersion)
                                 .Text(date)
                                 .Text(unreported)
                                 .Text(userName)
                                 .Text(comment)
                                 .Bytes();
  return envelope.Wrap(version, fields);
}

std::string EncodeModifiers(const std::vector<ModifierRecord>& modifiers,
                            const std::optional<std::uint32_t>& count) {
  ByteWriter writer;
  writer.U32(count.value_or(Narrow(modifiers.size())));
  for (const ModifierRecord& modifier : modifiers)
    writer.Raw(modifier.Encode());
  return writer.Bytes();
}

std::string NodeSetLists::Encode() const {
  const FlatSets flat = Flatten(sets);
  return ByteWriter()
      .U32s(nameOffsets.value_or(flat.nameOffsets))
      .Text(allNames.value_or(flat.allNames))
      .U32s(memberOffsets.value_or(flat.memberOffsets))
      .U32s(firstValues.value_or(flat.firstValues))
      .U32s(secondValues.value_or(flat.secondValues))
      .Bytes();
}

}  // namespace tevtest
