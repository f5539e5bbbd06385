// Reads groups.

#include "Lbt/Tev/Group.h"

#include "Lbt/Tev/Attributes.h"

namespace LbtTev {

void Group::Read(ModelStreams& streams, std::string_view version) {
  if (Holds(version, RecordPart::GroupTransform)) {
    streams.Attempt(streams.light, [&] {
      streams.light.GetFloats(translation);
      streams.light.GetFloats(rotation);
      streams.light.GetFloats(scale);
    });
  }
  if (Holds(version, RecordPart::GroupAttributes)) {
    streams.Attempt(streams.attributes,
                    [&] { LbtUtil::ReadAttributes(streams.attributes, attributes); });
  }
  if (Holds(version, RecordPart::GroupByte)) {
    streams.Attempt(streams.light, [&] { streams.light.Get(groupByte); });
  }
}

void Group::ReadVc(LbtLbf::LbFile& file, std::string_view lightDataBlockName,
                   std::string_view attributesBlockName, std::string_view version) {
  StreamNames names;
  names.light = lightDataBlockName;
  names.attributes = attributesBlockName;
  ModelStreams streams(file, names);
  Read(streams, version);
}

}  // namespace LbtTev
