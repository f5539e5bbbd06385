#include "TevInfo/RunDriver.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "Lbt/Log/Trace.h"
#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/TevInfo/Summary.h"
#include "Lbt/Tev/TevInfo/TevInfo.h"
#include "Lbt/Tev/Tree.h"
#include "Lbt/Util/FileSize.h"
#include "Lbt/Util/MemoryUsage.h"
#include "TevInfo/CommandLine.h"
#include "TevInfo/Output.h"
#include "TevInfo/SolverFileTypes.h"

namespace {

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
void AddNativeFile(TevInfo& info, const LbtUtil::AttributeMap& attributes, const std::string& kind,
                   std::string (*formatOf)(const std::string&)) {
  if (const auto file = attributes.find(kind); file != attributes.end()) {
    const std::string path = file->second.GetAttributeString();
    AddStreamMetaData(info, kind, path);
    AddStreamMetaData(info, kind + " Type", formatOf(path));
  }
  if (const auto size = attributes.find(kind + " Size"); size != attributes.end()) {
    AddStreamMetaData(info, "Native " + kind + " Size", size->second.GetAttributeString());
  }
}

void AddAttribute(TevInfo& info, const LbtUtil::AttributeMap& attributes, const std::string& source,
                  const std::string& key) {
  if (const auto found = attributes.find(source); found != attributes.end()) {
    AddStreamMetaData(info, key, found->second.GetAttributeString());
  }
}

void AddRootAttributes(TevInfo& info, const LbtUtil::AttributeMap& attributes) {
  AddNativeFile(info, attributes, "Model File", GetModelFileFormat);
  AddNativeFile(info, attributes, "Results File", GetResultsFileFormat);
  AddAttribute(info, attributes, "Number of Nodes in the Model", "Number of Nodes");
  AddAttribute(info, attributes, "Number of Elements in the Model", "Number of Elements");
}

/// Adds all entries, in the order of the report.
void GatherReport(TevInfo& info, LbtTev::Tree& tree, const std::string& tevFileSize) {
  LbtUtil::AttributeMap rootAttributes;
  GroupListing partsAndResults;
  SummaryCollector results;
  extractRootNodeAttributes(tree, rootAttributes);
  extractPartsAndResults(tree, info, partsAndResults, results);
  AddModifiers(info, tree.modifierInfos);
  AddRootAttributes(info, rootAttributes);
  AddStreamMetaData(info, "Tev File Size", tevFileSize);
  addSummary(info, results.Facts(partsAndResults));
}

void WriteReport(const TevInfo& info, std::ostream& stream) {
  if (info.format == TevInfo::ExtractData) {
    info.printData(stream);
  } else {
    stream << info.getMetadataString();
  }
}

void Report(const CommandLine& commandLine) {
  const std::string& model = commandLine.positional.front();
  TevInfo info;
  info.setFormat(commandLine.format);
  LbtTev::Tree tree;
  std::srand(0);
  const std::string tevFileSize = LbtUtil::GetFileSize(model.c_str());
  LbtTev::OpenModel(tree, model);
  GatherReport(info, tree, tevFileSize);

  Output output;
  output.Standard() << "Peak Memory Usage: " << LbtUtil::GetLinuxMemoryUsage().second << " Mb"
                    << std::endl;
  output.OpenReport(commandLine, tree.GetFile());
  WriteReport(info, output.Report());
  output.Finish();
}

}  // namespace

int RunTevInfo(int argc, char** argv) {
  SetLogFile();
  const CommandLine commandLine = ParseCommandLine(argc, argv);
  if (commandLine.positional.empty()) {
    std::cout << "Usage: " << (argc > 0 ? argv[0] : "TevInfo")
              << " [options] <tev_file_path> [output_file_path]" << std::endl;
    return 1;
  }
  try {
    Report(commandLine);
  } catch (const std::exception& exception) {
    std::cerr << "Exception: " << exception.what() << std::endl;
    return 2;
  }
  return 0;
}
