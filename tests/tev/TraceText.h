#pragma once

#include <string>

namespace tevtest {

/// The lines that the trace log gets during the life of an object.
class TraceText {
 public:
  TraceText();

  /// The lines so far, line numbers as they are.
  [[nodiscard]] std::string Lines() const;
};

}  // namespace tevtest
