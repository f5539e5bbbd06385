// One run of TevInfo: the arguments, the model, the report, the exit status.

#include "TevInfo/RunDriver.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <utility>

#include "Lbt/Log/Raise.h"
#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/TevInfo/Entries.h"
#include "Lbt/Tev/TevInfo/ModelFacts.h"
#include "Lbt/Tev/TevInfo/TevInfo.h"
#include "Lbt/Util/FileAccess.h"
#include "Lbt/Util/MemoryUsage.h"
#include "TevInfo/CommandLine.h"
#include "TevInfo/Output.h"

namespace {

using LbtTev::Report::ModelFacts;
using LbtTev::Report::Numbers;

/// What ended the gathering early is told, and the report goes on with what there is.
void TellFailures(const ModelFacts& facts) {
  for (const std::exception_ptr& failure : facts.failures) {
    try {
      std::rethrow_exception(failure);
    } catch (const std::exception& exception) {
      std::cerr << "Exception: " << exception.what() << std::endl;
    }
  }
}

ModelFacts GatherFacts(const LbtTev::Tree& tree, TevInfo::Format format) {
  const bool isDump = format == TevInfo::ExtractData;
  ModelFacts facts =
      LbtTev::Report::GatherModelFacts(tree, isDump ? Numbers::Wanted : Numbers::Left);
  TellFailures(facts);
  return facts;
}

void WriteReport(const TevInfo& info, std::ostream& stream) {
  if (info.format == TevInfo::ExtractData) {
    info.printData(stream);
  } else {
    stream << info.getMetadataString();
  }
}

/// Returns the exit status: 2 after a whole report, too, where the machine kept from it what the
/// model may well hold.
int Report(const CommandLine& commandLine) {
  const std::string& model = commandLine.positional.front();
  TevInfo info;
  info.setFormat(commandLine.format);
  LbtTev::LastingModel lasting;
  const LbtTev::Tree& tree = lasting.GetTree();
  std::srand(0);  // NOLINT(cert-msc32-c, cert-msc51-cpp): the same numbers in every run
  std::string fileSize = LbtUtil::GetFileSize(model.c_str());
  lasting.Open(model);
  ModelFacts facts = GatherFacts(tree, info.format);
  facts.fileSize = std::move(fileSize);  // as it was before the model was read
  const int status = facts.isMachineAtFault ? 2 : 0;
  LbtTev::Report::AddEntries(info, std::move(facts));

  Output output(tree.GetFile());
  output.Standard() << "Peak Memory Usage: " << LbtUtil::GetLinuxMemoryUsage().second << " Mb"
                    << std::endl;
  output.OpenReport(commandLine, tree.GetFile());
  WriteReport(info, output.Report());
  output.Finish();
  return status;
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
    return Report(commandLine);
  } catch (const std::exception& exception) {
    std::cerr << "Exception: " << exception.what() << std::endl;
    return 2;
  }
}
