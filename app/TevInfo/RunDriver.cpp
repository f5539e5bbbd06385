#include "TevInfo/RunDriver.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Log/Trace.h"
#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/TevInfo/ModelFacts.h"
#include "Lbt/Tev/TevInfo/Summary.h"
#include "Lbt/Tev/TevInfo/TevInfo.h"
#include "Lbt/Tev/Tree.h"
#include "Lbt/Util/FileSize.h"
#include "Lbt/Util/MemoryUsage.h"
#include "Lbt/Util/Undestroyed.h"
#include "TevInfo/CommandLine.h"
#include "TevInfo/HeapWatch.h"
#include "TevInfo/Output.h"

namespace {

void AddText(TevInfo& info, const std::string& key, const std::optional<std::string>& text) {
  if (text) {
    AddStreamMetaData(info, key, *text);
  }
}

/// Who wrote the model and who last did. The entries stop at the first record between
/// the two, so that of three records only the first is written; readers count on it.
void AddModifiers(TevInfo& info, const std::vector<LbtTev::ModifierInfo>& modifiers) {
  std::vector<std::string> suffixes(modifiers.size());
  if (!suffixes.empty()) {
    suffixes.back() = " (Latest Translation)";
  }
  if (suffixes.size() >= 2) {
    suffixes.front() = " (Original Modification)";
  }
  for (std::size_t i = 0; i < modifiers.size() && !suffixes[i].empty(); ++i) {
    WriteModifierInfo(info, modifiers[i], suffixes[i]);
  }
}

/// Adds the entries of one of the model's native files: its path, type and size.
void AddNativeFile(TevInfo& info, const std::string& kind, const NativeFileFacts& facts) {
  AddText(info, kind, facts.path);
  AddText(info, kind + " Type", facts.type);
  AddText(info, "Native " + kind + " Size", facts.size);
}

void AddValue(TevInfo& info, const std::string& key,
              const std::optional<LbtUtil::AttributeValue>& value) {
  if (value) {
    AddStreamMetaData(info, key, value->GetAttributeString());
  }
}

/// Adds all entries, in the order of the report.
void AddEntries(TevInfo& info, const ModelFacts& facts, const std::string& tevFileSize) {
  AddModifiers(info, facts.modifiers);
  AddNativeFile(info, "Model File", facts.modelFile);
  AddNativeFile(info, "Results File", facts.resultsFile);
  AddValue(info, "Number of Nodes", facts.numberOfNodes);
  AddValue(info, "Number of Elements", facts.numberOfElements);
  AddStreamMetaData(info, "Tev File Size", tevFileSize);
  addSummary(info, facts.summary);
}

/// Gathers what can be gathered: a failure on the way is told, and the report goes on.
ModelFacts GatherFacts(TevInfo& info, LbtTev::Tree& tree) {
  LbtUtil::AttributeMap rootAttributes;
  GroupListing partsAndResults;
  SummaryCollector results;
  extractRootNodeAttributes(tree, rootAttributes);
  extractPartsAndResults(tree, info, partsAndResults, results);
  return MakeModelFacts(tree, std::move(rootAttributes), results.Facts(partsAndResults));
}

void WriteReport(const TevInfo& info, std::ostream& stream) {
  if (info.format == TevInfo::ExtractData) {
    info.printData(stream);
  } else {
    stream << info.getMetadataString();
  }
}

/// Closes a model's file at the end of a run, however that comes, and leaves the tree to the
/// end of the process.
class ClosingAtEnd {
 public:
  explicit ClosingAtEnd(LbtLbf::LbFile& file) : file_(file) {}
  ~ClosingAtEnd() { file_.CloseFile(); }
  ClosingAtEnd(const ClosingAtEnd&) = delete;
  ClosingAtEnd& operator=(const ClosingAtEnd&) = delete;

 private:
  LbtLbf::LbFile& file_;
};

void Report(const CommandLine& commandLine) {
  const std::string& model = commandLine.positional.front();
  TevInfo info;
  info.setFormat(commandLine.format);
  static Lbt::Util::Undestroyed<LbtTev::Tree> kept;
  LbtTev::Tree& tree = kept.Get();
  const ClosingAtEnd closing(tree.GetFile());
  std::srand(0);  // NOLINT(cert-msc32-c, cert-msc51-cpp): the same numbers in every run
  const std::string tevFileSize = LbtUtil::GetFileSize(model.c_str());
  HeapWatch heapWatch;
  LbtTev::OpenModel(tree, model, &heapWatch);
  AddEntries(info, GatherFacts(info, tree), tevFileSize);

  Output output(tree.GetFile());
  output.Standard() << "Peak Memory Usage: " << LbtUtil::GetLinuxMemoryUsage().second << " Mb"
                    << std::endl;
  output.OpenReport(commandLine, tree.GetFile());
  WriteReport(info, output.Report());
  output.Finish();
}

}  // namespace

int RunTevInfo(int argc, char** argv) {
  try {
    SetLogFile();
    const CommandLine commandLine = ParseCommandLine(argc, argv);
    if (commandLine.positional.empty()) {
      std::cout << "Usage: " << (argc > 0 ? argv[0] : "TevInfo")
                << " [options] <tev_file_path> [output_file_path]" << std::endl;
      return 1;
    }
    Report(commandLine);
  } catch (const std::exception& exception) {
    std::cerr << "Exception: " << exception.what() << std::endl;
    return 2;
  }
  return 0;
}
