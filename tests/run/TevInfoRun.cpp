// Runs TevInfo in a folder of its own, and knows what it prints.

#include "run/TevInfoRun.h"

#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <sstream>
#include <utility>

#include "run/UnchangedModels.h"
#include "support/Mask.h"

namespace tevtest {
namespace {

/// A class whose exceptions and log records always show the same line numbers.
struct FixedLines {
  std::string_view baseName;
  std::string_view file;
  std::string_view exceptionLine;
};

constexpr std::array<FixedLines, 3> kFixed{{
    {"Tree", "include/Lbt/Tev/Tree", "729"},
    {"BlockVersionedIo", "include/Lbt/Tev/BlockVersionedIo", "184"},
    {"Geometry", "include/Lbt/Tev/Geometry", "738"},
}};

bool HasFixedLine(std::string_view errorText) {
  for (const FixedLines& fixed : kFixed) {
    const std::string fileLine = "       File : " + std::string(fixed.file) + " \n";
    if (errorText.find(fileLine) != std::string_view::npos)
      return true;
  }
  return false;
}

std::string MaskError(std::string_view text) {
  return MaskException(text, HasFixedLine(text) ? LineNumber::Kept : LineNumber::Masked);
}

std::string MaskLogLine(const std::string& line) {
  for (const FixedLines& fixed : kFixed) {
    if (line.starts_with(std::string(fixed.baseName) + " : "))
      return line;
  }
  return MaskLog(line);
}

std::string MaskFreeLines(const std::string& log) {
  std::string masked;
  std::size_t start = 0;
  while (start < log.size()) {
    const std::size_t feed = log.find('\n', start);
    const std::size_t end = feed == std::string::npos ? log.size() : feed + 1;
    masked += MaskLogLine(log.substr(start, end - start));
    start = end;
  }
  return masked;
}

std::string Document(std::string_view prefix, std::string_view root, std::string_view uri,
                     std::string_view entries) {
  const std::string element = std::string(prefix) + ":" + std::string(root);
  std::string text = "<" + element + " xmlns:" + std::string(prefix);
  text.append("=\"").append(uri).append("\">\n").append(entries);
  return text + "</" + element + ">\n";
}

std::string Entry(std::string_view element, std::string_view name, std::string_view value) {
  std::string line = "        <";
  line.append(element).append(" name=\"").append(name);
  return line.append("\" value=\"").append(value).append("\"/>\n");
}

}  // namespace

std::string NativeEntry(std::string_view name, std::string_view value) {
  return Entry("attribute", name, value);
}

std::string EkmEntry(std::string_view name, std::string_view value) {
  return Entry("data", name, value);
}

std::string NativeDocument(std::string_view entries) {
  return Document("lbt", "metadata", "urn:lbt:tev:metadata", entries);
}

std::string EkmDocument(std::string_view entries) {
  return Document("ekmMetaData", "meta-data", "urn:ansys:ekm:meta-data", entries);
}

std::string KibibyteText(std::size_t bytes) {
  std::ostringstream text;
  text << static_cast<double>(bytes) / 1024 << " KB";
  return text.str();
}

std::string Failure(std::string_view type, std::string_view description, std::string_view file) {
  std::string_view line = "#";
  for (const FixedLines& fixed : kFixed) {
    if (file == fixed.file)
      line = fixed.exceptionLine;
  }
  return ExpectedFailure(type, description, file, line);
}

Outcome TevInfoRun::Run(std::vector<std::string> arguments, RunOptions options) const {
  return RunCopy(TEVINFO_PROGRAM, std::move(arguments), std::move(options));
}

/// The build directory may be closed to others, so the program runs from the scratch directory.
Outcome TevInfoRun::RunUnprivileged(std::vector<std::string> arguments, RunOptions options) const {
  constexpr mode_t kEverything = 0777;
  const std::string program = dir / "TevInfo";
  std::filesystem::copy_file(TEVINFO_PROGRAM, program,
                             std::filesystem::copy_options::overwrite_existing);
  ::chmod(program.c_str(), kEverything);
  ::chmod(logDirectory.c_str(), kEverything);
  dir.OpenToAll(true);
  options.hooks.emplace_back(RunAsUnprivileged);
  return RunCopy(program, std::move(arguments), std::move(options));
}

Outcome TevInfoRun::RunCopy(const std::string& program, std::vector<std::string> arguments,
                            RunOptions options) const {
  arguments.insert(arguments.begin(), program);
  options.environment.try_emplace("QUARLO_TEMP_PATH", logDirectory);
  options.environment.try_emplace("PRAMO_DEFAULT_TEV_BLOCK_SIZE", std::nullopt);
  options.environment.try_emplace("PRAMO_MAX_TEV_BLOCK_SIZE", std::nullopt);
  options.workingDirectory = dir.Path().string();
  options.hooks.push_back(Limit(RLIMIT_CORE, 0));
  const UnchangedModels unchanged(arguments, dir.Path());
  const RunResult result = RunProgram(arguments, options);
  const bool hasLog = std::filesystem::is_regular_file(LogPath());
  return {.status = result.status,
          .signal = result.signal,
          .hung = result.hung,
          .output = MaskPeakMemory(result.output),
          .error = MaskError(result.error),
          .log = hasLog ? MaskFreeLines(ReadFile(LogPath())) : ""};
}

void TevInfoRun::ExpectReport(const Outcome& outcome, std::string_view document) const {
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.error, Notice());
  EXPECT_EQ(outcome.output, std::string(kMemoryLine) + std::string(document));
}

void TevInfoRun::ExpectFailed(const Outcome& outcome, std::string_view text) const {
  EXPECT_FALSE(outcome.hung);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(outcome.error, Notice() + std::string(text));
}

}  // namespace tevtest
