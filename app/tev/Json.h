#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "Lbt/Util/AttributeValue.h"

/// JSON whose objects keep the order in which their members were added.
using Json = nlohmann::ordered_json;

/// The text of a value on one line. Texts are escaped as JSON demands, and so is what might
/// control a terminal, with U+FFFD for what is no valid UTF-8. Numbers have as few digits as they
/// can be read back from; one that is not finite is null.
[[nodiscard]] std::string JsonText(const Json& json);

/// "text" as a reader of its JSON gets it: with U+FFFD for what is no valid UTF-8.
[[nodiscard]] std::string ValidText(const std::string& text);

/// The value of an attribute. A float becomes the double that it is.
[[nodiscard]] Json JsonOf(const LbtUtil::AttributeValue& value);

template <class T>
[[nodiscard]] Json JsonOrNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json(nullptr);
}

/// Attributes as a list of {"name", "type", "value"}, since no two names of one set need
/// stay different where U+FFFD stands for what is not valid in them.
[[nodiscard]] Json JsonOf(const LbtUtil::AttributeMap& attributes);

/// How JSON is laid out: over lines indented by two, or all on one line.
enum class JsonLayout : std::uint8_t { Indented, OneLine };

/// Writes one JSON value piece by piece. What has been written is out of memory, and whatever goes
/// wrong on the way, closing what is open leaves JSON.
class JsonWriter {
 public:
  /// "output" must outlive this.
  explicit JsonWriter(std::ostream& output, JsonLayout layout = JsonLayout::Indented)
      : output_(&output), layout_(layout) {}

  /// One that goes on with the members of an object, which others began with a member and will
  /// close: "depth" objects and lists are open around it.
  JsonWriter(std::ostream& output, JsonLayout layout, std::size_t depth)
      : output_(&output), layout_(layout), outerDepth_(depth), isEmpty_(false) {}

  /// Closes what is open.
  ~JsonWriter();
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;

  void OpenObject() { Open("{}"); }
  void OpenList() { Open("[]"); }

  /// Closes what was opened last.
  void Close();

  /// Has what comes next written to another stream, which must outlive this.
  void GoOnIn(std::ostream& output) { output_ = &output; }

  /// How much of what was opened here is open.
  [[nodiscard]] std::size_t Depth() const { return closers_.size(); }

  /// The name of the next value in an object.
  void Key(std::string_view name);

  /// A whole value: the next of a list, or the one after a key.
  void Value(const Json& value);

  void Member(std::string_view name, const Json& value) {
    Key(name);
    Value(value);
  }

 private:
  void Open(std::string_view brackets);
  void BeginValue();
  void BreakLine();

  std::ostream* output_;
  JsonLayout layout_;
  std::size_t outerDepth_ = 0;
  std::string closers_;   // of what is open
  bool isEmpty_ = true;   // nothing stands in what was opened last
  bool isKeyed_ = false;  // a key waits for its value
};
