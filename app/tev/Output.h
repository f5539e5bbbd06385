#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Util/FileAccess.h"
#include "Lbt/Util/OutputStream.h"

/// Where an answer goes: standard output, or a file that "-o" names. A file is opened, and emptied,
/// when the answer begins: a run that ends before has changed nothing. A model is never written to.
class AnswerOutput {
 public:
  /// "" and "-" are standard output. A path that stands for a descriptor, as "/dev/stdout" does,
  /// or for the file that standard output goes to, is written to where it stands.
  explicit AnswerOutput(std::string path = {}) : path_(std::move(path)) {}

  /// Into memory, for who asks in this process; "memory" must outlive this.
  explicit AnswerOutput(std::ostringstream& memory) : memory_(&memory) {}

  /// Throws a Failure where the answer would go into a model or into one of "spared", which are
  /// paths. Nothing is opened.
  void RequireApartFrom(const std::vector<std::string>& spared) const;

  /// Opens it at the first call. Throws an OutputFailure where it cannot be opened.
  [[nodiscard]] std::ostream& Stream();

  /// Whether it is still possible to write.
  [[nodiscard]] bool IsGood() const { return stream_ == nullptr || stream_->good(); }

  /// How many columns a line may have: those of the terminal, where it is one.
  [[nodiscard]] std::optional<std::size_t> Columns() const;

  /// Writes what the stream holds back, if it has been opened.
  void Flush();

  /// The same, and closes it. Throws an OutputFailure where not all could be written.
  void Finish();

 private:
  [[nodiscard]] std::optional<int> Descriptor() const;
  [[nodiscard]] std::string Name() const;

  std::string path_;
  std::ostringstream* memory_ = nullptr;  // in place of a path
  std::unique_ptr<Lbt::Util::DescriptorStream> stream_;
  mutable bool mayBeTerminal_ = true;  // what has turned out to be none stays so
  int error_ = 0;                      // why it could not be written, as far as it is known
};

/// Writes a line to standard output. Throws an OutputFailure where it cannot be written.
void WriteLine(const std::string& line);
