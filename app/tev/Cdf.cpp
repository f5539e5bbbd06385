// tev cdf: one geometry as CDF text.

#include <CLI/CLI.hpp>
#include <exception>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Lbt/Tev/Analysis/FaceChecks.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Mesh.h"
#include "Lbt/Tev/TevInfo/CdfExport.h"
#include "tev/FieldOptions.h"
#include "tev/OpenedModel.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

using namespace LbtTev::Analysis;
using LbtTev::Report::CdfPlace;

/// Calls "use" with the id of each geometry and the geometry.
template <class Use>
void ForEachGeometry(const LbtTev::Tree& tree, const Use& use) {
  for (const auto& [id, entry] : tree.GetNodes()) {
    if (const auto* geometry = dynamic_cast<const LbtTev::Geometry*>(entry.data)) {
      use(id, *geometry);
    }
  }
}

/// The names of all geometries, in byte order.
std::set<std::string> GeometryNames(const LbtTev::Tree& tree) {
  std::set<std::string> names;
  ForEachGeometry(tree, [&](unsigned int /*id*/, const LbtTev::Geometry& geometry) {
    names.insert(geometry.name);
  });
  return names;
}

void RequireGeometry(const LbtTev::Tree& tree, const std::string& path, const std::string& name) {
  const std::set<std::string> names = GeometryNames(tree);
  if (!names.contains(name)) {
    const std::vector<std::string_view> all(names.begin(), names.end());
    throw UsageError(path + ": " + NoMatchText("geometry", name, all));
  }
}

std::string PlaceText(const CdfPlace& place) {
  return "the export broke off in geometry " + std::to_string(place.geometryId) + ", variable " +
         std::to_string(place.variableIndex) + " " + QuotedText(ShownName(place.variableName)) +
         ": ";
}

/// Writes the geometry. A failure on the way tells where it was.
void Write(const LbtTev::Tree& tree, const std::string& geometry, std::ostream& stream) {
  CdfPlace place;
  try {
    NamingBlocks(tree.GetFile(), [&] { LbtTev::Report::WriteCdf(tree, geometry, stream, &place); });
  } catch (const std::out_of_range&) {
    throw Failure(FailureCode::Damaged,
                  PlaceText(place) + "its instance name has no \" = \" before a step");
  } catch (...) {
    const Failure failure = FailureOfCurrentException();
    const bool isOfNumbers = failure.Code() == FailureCode::Damaged && place.position;
    throw Failure(
        failure.Code(),
        PlaceText(place) + failure.what() +
            (isOfNumbers ? ", " + tree.GetStreams().heavy->TextOfFailure(*place.position) : ""));
  }
}

/// The faces of a mesh at a step.
struct FacesAtStep {
  unsigned int geometryId = 0;
  std::optional<std::string> step;
  std::size_t points = 0;
};

/// Tells "writer" of meshes whose faces do not fit their lengths or points: the text has such faces
/// as they are, or not at all.
void TellDamagedFaces(const LbtTev::Tree& tree, const std::string& name, AnswerWriter& writer) {
  std::vector<FacesAtStep> all;
  std::vector<WantedGroup> wanted;
  ForEachGeometry(tree, [&](unsigned int id, const LbtTev::Geometry& geometry) {
    const auto meshes =
        geometry.name == name ? MeshesOf(geometry) : LbtTev::MeshesByStep<std::string>();
    for (const auto& [step, own] : meshes.Own()) {
      const LbtTev::MeshVariables mesh = meshes.At(step);
      if (mesh.faces != nullptr && mesh.coordinates != nullptr) {
        all.push_back({id, step, TuplesOf(mesh.coordinates->array)});
        wanted.push_back({{mesh.faces, true}, {mesh.lengths, true}});
      }
    }
  });
  std::vector<std::exception_ptr> failures(all.size());
  FaceChecks checks(tree);
  LoadInFileOrder({&tree, wanted}, [&](std::size_t place, const LoadedGroup& loaded) {
    failures[place] = FailureOf(loaded);
    if (failures[place] == nullptr) {
      failures[place] =
          FailureOfLoad(tree, [&] { checks.Check(loaded[0], loaded[1], all[place].points); });
    }
  });
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (failures[i] != nullptr) {
      const auto& [id, step, points] = all[i];
      writer.AddMissing("geometry " + std::to_string(id) + ", mesh" +
                        (step ? ", step " + QuotedText(*step) : "") + ": " +
                        FailureOf(failures[i]).what());
    }
  }
}

void Export(const Input& input, AnswerWriter& writer, const std::string& geometry) {
  WithModel(input, writer, [&](const LbtTev::Tree& tree) {
    RequireGeometry(tree, input.path, geometry);
    Write(tree, geometry, writer.Text());
    TellDamagedFaces(tree, geometry, writer);
  });
}

constexpr const char* kNotes =
    "Every geometry of that name is written. OUTPUT may be - for standard output.\n"
    "Example: tev cdf bracket.tev \"Arm (Aluminium)\" arm.cdf\n"
    "Exit status: 0 done, 1 bad usage or no such geometry, 2 the model failed.";

Action SetUp(CLI::App& app) {
  const auto run = std::make_shared<FileRun>(FileRun{.verb = "cdf", .layout = TextLayout::Lines});
  const auto geometry = std::make_shared<std::string>();
  AddModel(app, run);
  app.add_option("GEOMETRY", *geometry, "The name of the geometry")->required()->option_text(" ");
  app.add_option("OUTPUT", run->output, "The file to write, or -o FILE in its place")
      ->option_text(" ");
  AddOutputOptions(app, run);
  app.get_option("OUTPUT")->excludes(app.get_option("--output"));
  app.callback([run] {
    if (run->output.empty()) {
      throw CLI::RequiredError("OUTPUT");
    }
  });
  run->answer = [geometry](const Input& input, AnswerWriter& writer) {
    Export(input, writer, *geometry);
  };
  return [run] { return RunOverFiles(*run); };
}

}  // namespace

Verb CdfVerb() {
  return {.name = "cdf",
          .summary = "Export a geometry to the CDF text format",
          .notes = kNotes,
          .setUp = SetUp};
}
