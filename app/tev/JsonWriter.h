#pragma once

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string>
#include <string_view>

#include "tev/Json.h"

/// Writes one JSON value piece by piece, in the form of JsonText. What has been written is out of
/// memory, and whatever goes wrong on the way, closing what is open leaves JSON.
class JsonWriter {
 public:
  /// "output" must outlive this.
  explicit JsonWriter(std::ostream& output) : output_(&output) {}
  /// Closes what is open.
  ~JsonWriter();
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;

  void OpenObject() { Open("{}"); }
  void OpenList() { Open("[]"); }

  /// Closes what was opened last.
  void Close();

  /// How much is open.
  [[nodiscard]] std::size_t Depth() const { return closers_.size(); }

  /// The name of the next value in an object.
  void Key(std::string_view name);

  /// A whole value: the next of a list, or the one behind a key.
  void Value(const Json& value);

  /// The same, from its text.
  void ValueText(std::string_view text);

  void Member(std::string_view name, const Json& value) {
    Key(name);
    Value(value);
  }

 private:
  void Open(std::string_view brackets);
  void BeginValue();
  void BreakLine();

  std::ostream* output_;
  std::string closers_;   // of what is open
  bool isEmpty_ = true;   // nothing stands in what was opened last
  bool isKeyed_ = false;  // a key waits for its value
};
