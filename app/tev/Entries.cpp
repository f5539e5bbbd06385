// Gives the entries of verbs to others than the program.

#include "tev/Entries.h"

#include <utility>

#include "tev/FileFailure.h"

EntryInMemory::EntryInMemory(std::string verb, const std::string& path)
    : output_(text_),
      progress_(Progress::Mode::Never),
      writer_({.verb = std::move(verb), .form = Form::JsonLines, .isQuiet = true}, output_,
              progress_) {
  text_.exceptions(std::ios::badbit);  // else a lack of memory would only cut the entry
  writer_.BeginFile(path);
}

std::string EntryInMemory::Take() {
  writer_.EndFile();
  return std::move(text_).str();
}

NamedInput::NamedInput(const std::string& path)
    : inputs_({path == "-" ? "./-" : path}, "", Inputs::Folders::Refused), input_(*inputs_.Next()) {
  input_.path = path;
}

std::string EntryOf(std::string verb, const std::string& path,
                    const std::function<void(AnswerWriter& writer)>& answer) {
  EntryInMemory entry(std::move(verb), path);
  try {
    answer(entry.Writer());
  } catch (const UsageError&) {
    throw;
  } catch (...) {
    entry.Writer().FailWithoutFacts(FailureOfCurrentException());
  }
  return entry.Take();
}
