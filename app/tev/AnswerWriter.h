#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "tev/JsonWriter.h"
#include "tev/Progress.h"

/// How answers of text stand one after another: each as a section under its path, with an
/// empty line between two, or all as one list of lines.
enum class TextLayout { Sections, Lines };

/// Writes the answers on several files, one after another and each in as many pieces as it
/// comes in, with what stands around and between them.
class AnswerWriter {
 public:
  struct Form {
    std::string command;
    TextLayout layout = TextLayout::Sections;
    bool json = false;
  };

  /// "output" and "progress", whose line gives way to an answer, must outlive this.
  AnswerWriter(const Form& form, std::ostream& output, Progress& progress);

  [[nodiscard]] bool IsJson() const { return isJson_; }

  /// The file that the next pieces are about.
  void BeginFile(const std::string& path);

  /// Text: a piece of the answer. JSON: all of it, an object.
  void Write(std::string_view piece);

  /// JSON only: where an object goes that is written piece by piece.
  [[nodiscard]] JsonWriter& Object();

  /// Ends the answer, also one that broke off.
  void EndFile();

  void AddFailure(const std::string& path, const std::string& reason);

  /// Ends the answer on all files.
  void Close();

 private:
  struct Failed {
    std::string path;
    std::string reason;
  };

  void BeginAnswer();

  std::ostream* output_;
  Progress* progress_;
  TextLayout layout_;
  bool isJson_;
  JsonWriter writer_;
  std::string path_;
  bool isBegun_ = false;  // the answer on this file
  bool isFirst_ = true;
  std::vector<Failed> failures_;
};
