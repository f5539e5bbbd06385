// Variables of geometries, and their data as it is stored.

#include "Variable.h"

#include <cstddef>
#include <utility>

#include "ByteWriter.h"

namespace tevtest {
namespace {

constexpr std::size_t kElementSize = 4;

/// Appends one component of "count" items, byte plane by byte plane.
void AppendPlane(std::string_view elements, std::size_t component, std::size_t width,
                 std::size_t count, std::string& out) {
  for (std::size_t byte = 0; byte < kElementSize; ++byte) {
    for (std::size_t item = 0; item < count; ++item) {
      out.push_back(elements[(item * width + component) * kElementSize + byte]);
    }
  }
}

Variable Data(std::string_view name, std::uint32_t type, std::uint8_t width, std::string elements,
              AttributeSet attributes) {
  Variable variable;
  variable.name = name;
  variable.type = type;
  variable.width = width;
  variable.elements = std::move(elements);
  variable.attributes = std::move(attributes);
  return variable;
}

}  // namespace

std::string ElementBytes(std::span<const float> values) {
  ByteWriter writer;
  for (const float value : values)
    writer.F32(value);
  return writer.Bytes();
}

std::string ElementBytes(std::span<const std::uint32_t> values) {
  ByteWriter writer;
  for (const std::uint32_t value : values)
    writer.U32(value);
  return writer.Bytes();
}

std::string Shuffle(std::string_view elements, std::uint8_t width) {
  std::string out;
  if (width != 0) {
    const std::size_t items = elements.size() / kElementSize / width;
    for (std::size_t component = 0; component < width; ++component) {
      AppendPlane(elements, component, width, items, out);
    }
  }
  out.append(elements.substr(out.size()));
  return out;
}

Variable Variable::Floats(std::string_view name, std::uint32_t type, std::uint8_t width,
                          std::span<const float> values, AttributeSet attributes) {
  return Data(name, type, width, ElementBytes(values), std::move(attributes));
}

Variable Variable::Floats(std::string_view name, std::uint32_t type, std::uint8_t width,
                          std::initializer_list<float> values, AttributeSet attributes) {
  return Floats(name, type, width, std::span(values.begin(), values.size()), std::move(attributes));
}

Variable Variable::Uints(std::string_view name, std::uint32_t type, std::uint8_t width,
                         std::span<const std::uint32_t> values, AttributeSet attributes) {
  return Data(name, type, width, ElementBytes(values), std::move(attributes));
}

Variable Variable::Uints(std::string_view name, std::uint32_t type, std::uint8_t width,
                         std::initializer_list<std::uint32_t> values, AttributeSet attributes) {
  return Uints(name, type, width, std::span(values.begin(), values.size()), std::move(attributes));
}

Variable Variable::Link(std::string_view name, std::uint32_t type, std::uint32_t nodeId,
                        std::uint32_t variableIndex, AttributeSet attributes) {
  Variable variable = Data(name, type, 1, {}, std::move(attributes));
  variable.linked = 1;
  variable.linkNodeId = nodeId;
  variable.linkVariableIndex = variableIndex;
  return variable;
}

std::string Variable::StoredBytes(bool shuffledByVersion) const {
  if (heavyBytes)
    return *heavyBytes;
  return shuffled.value_or(shuffledByVersion) ? Shuffle(elements, width) : elements;
}

}  // namespace tevtest
