#include <CLI/CLI.hpp>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/TevInfo/CdfExport.h"
#include "Lbt/Util/Exception.h"
#include "Lbt/Util/FileAccess.h"
#include "Lbt/Util/OutputStream.h"
#include "tev/OpenedModel.h"
#include "tev/Subcommands.h"
#include "tev/VisibleText.h"

namespace {

using Lbt::Util::DescriptorStream;
using Lbt::Util::Exception;
using LbtTev::Report::CdfPlace;

struct Arguments {
  std::string model;
  std::string geometry;
  std::string output;
};

/// The names of all geometries, in byte order.
std::set<std::string> GeometryNames(const LbtTev::Tree& tree) {
  std::set<std::string> names;
  for (const auto& [id, entry] : tree.GetNodes()) {
    if (const auto* geometry = dynamic_cast<const LbtTev::Geometry*>(entry.data)) {
      names.insert(geometry->name);
    }
  }
  return names;
}

void RequireGeometry(const LbtTev::Tree& tree, const std::string& name) {
  const std::set<std::string> names = GeometryNames(tree);
  if (names.contains(name)) {
    return;
  }
  std::string message = "there is no geometry " + QuotedText(name);
  if (names.empty()) {
    throw Failure(message + "; the model has none");
  }
  const char* separator = "; there are: ";
  for (const std::string& known : names) {
    message += separator + QuotedText(known);
    separator = ", ";
  }
  throw Failure(message);
}

std::string PlaceText(const CdfPlace& place) {
  return "the export broke off in geometry " + std::to_string(place.geometryId) + ", variable " +
         std::to_string(place.variableIndex) + " " + QuotedText(place.variableName) + ": ";
}

/// Writes the geometry. A failure on the way tells where it was.
void Write(const LbtTev::Tree& tree, const std::string& geometry, std::ostream& stream) {
  CdfPlace place;
  try {
    NamingBlocks(tree.GetFile(), [&] { LbtTev::Report::WriteCdf(tree, geometry, stream, &place); });
  } catch (const std::out_of_range&) {
    throw Failure(PlaceText(place) + "its instance name has no \" = \" before a step");
  } catch (const std::exception& exception) {
    throw Failure(PlaceText(place) + ReasonOf(exception));
  }
}

int OpenOutput(const std::string& path, const LbtLbf::LbFile& model) {
  const auto identity = model.GetIdentity();
  if (identity && Lbt::Util::IdentityOf(path) == identity) {
    throw Failure("the output " + QuotedText(path) + " is the model itself");
  }
  const auto descriptor = Lbt::Util::OpenForReplacing(path, identity);
  if (!descriptor) {
    throw Failure("Unable to open file " + QuotedText(path));
  }
  return *descriptor;
}

void Export(const LbtTev::Tree& tree, const Arguments& arguments) {
  RequireGeometry(tree, arguments.geometry);
  DescriptorStream stream(OpenOutput(arguments.output, tree.GetFile()),
                          DescriptorStream::Ownership::Owned);
  Write(tree, arguments.geometry, stream);
  if (!stream.Finish()) {
    throw Failure(std::string(Exception::GetDescription(Exception::ErrorType::WriteError)) +
                  ": Unable to write " + QuotedText(arguments.output));
  }
}

Status Run(const Arguments& arguments) {
  try {
    WithModel(arguments.model, [&](const LbtTev::Tree& tree) { Export(tree, arguments); });
    return Status::Done;
  } catch (const std::exception& exception) {
    ReportFailure(arguments.model, ReasonOf(exception));
    return Status::FileFailed;
  }
}

}  // namespace

void AddCdf(CLI::App& app, Action& action) {
  CLI::App* command = app.add_subcommand("cdf", "Export a geometry to the CDF text format");
  const auto arguments = std::make_shared<Arguments>();
  command->add_option("MODEL", arguments->model, "The model file")->required();
  command->add_option("GEOMETRY", arguments->geometry, "The name of the geometry")->required();
  command->add_option("OUTPUT", arguments->output, "The file to write")->required();
  command->callback([&action, arguments] {
    action = [arguments](std::ostream& /*output*/) { return Run(*arguments); };
  });
}
