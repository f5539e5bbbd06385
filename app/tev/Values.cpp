// tev values: numbers of fields and meshes, exactly as they are stored.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Statistics.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/StoredNumbers.h"
#include "tev/FieldOptions.h"
#include "tev/OpenedModel.h"
#include "tev/ValueForms.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

using namespace LbtTev::Analysis;
using LbtTev::MeshName::kCoordinates;
using LbtTev::MeshName::kElementIds;
using LbtTev::MeshName::kNodeIds;

constexpr std::array<MeshRole, 1> kFaces{&MeshVariables::faces};
constexpr std::array<std::string_view, 3> kMeshNames{kCoordinates, kElementIds, kNodeIds};

enum class Format : std::uint8_t { Csv, Npy };

struct Options {
  std::shared_ptr<Selection> selection = std::make_shared<Selection>();
  Format format = Format::Csv;
  bool mesh = false;
};

bool IsIds(const Field& field) { return field.result == kNodeIds || field.result == kElementIds; }

/// Fields that were asked for, part by part; variables of meshes among them as fields.
struct Asked {
  std::vector<FieldOfPart> fields;
  std::deque<Field> ofMeshes;
};

void AddMeshFields(const Model& model, std::size_t part, std::string_view name,
                   const SelectedSteps& steps, Asked& asked) {
  const MeshRole role = name == kCoordinates ? &MeshVariables::coordinates
                        : name == kNodeIds   ? &MeshVariables::nodeIds
                                             : &MeshVariables::elementIds;
  for (const auto& step : model.StepsWith(model.Parts()[part], std::array{role})) {
    if (steps.Has(step)) {
      const auto* variable = model.MeshAt(model.Parts()[part], step).*role;
      asked.fields.push_back(
          {part, &asked.ofMeshes.emplace_back(
                     Field{.result = name,
                           .step = step,
                           .location = name == kElementIds ? Location::Element : Location::Node,
                           .components = variable->array.GetWidth(),
                           .count = TuplesOf(variable->array),
                           .variable = variable})});
    }
  }
}

void Find(const Model& model, const Selection& selection, Asked& asked) {
  const auto results = SelectResults(model, selection.results, kMeshNames);
  const SelectedSteps steps(model, selection.steps);
  for (const std::size_t part : SelectParts(model, selection.parts)) {
    for (const std::string_view name : kMeshNames) {
      if (std::ranges::find(results, name) != results.end()) {
        AddMeshFields(model, part, name, steps, asked);
      }
    }
    for (const Field& field : model.FieldsOf(model.Parts()[part])) {
      if (steps.Has(field.step) && std::ranges::binary_search(results, field.result)) {
        asked.fields.push_back({part, &field});
      }
    }
  }
}

void RequireOneTable(const Model& model, const Asked& asked, Format format,
                     const std::string& path) {
  if (asked.fields.empty()) {
    throw UsageError(path + ": no field fits all that is asked for");
  }
  if (format == Format::Npy && asked.fields.size() != 1) {
    throw UsageError(path + ": npy holds one field, and " + std::to_string(asked.fields.size()) +
                     " fit");
  }
  const FieldOfPart& first = asked.fields.front();
  for (const FieldOfPart& each : asked.fields) {
    if (each.field->components != first.field->components) {
      throw UsageError(path + ": one table cannot hold both " + NameOfField(model, first) +
                       ", and " + NameOfField(model, each) +
                       ": they have different numbers of components");
    }
  }
}

std::string StepText(const Model& model, std::optional<std::size_t> step) {
  return step ? model.Steps()[*step].text : "";
}

void AddId(Rows& rows, std::span<const float> ids, std::size_t index) {
  if (const auto id = IdAt(ids, index)) {
    rows.AddNumber(*id);
  }
}

void WriteCsv(const Model& model, const FieldOfPart& each, const LoadedNumbers& numbers,
              Rows& rows) {
  const Field& field = *each.field;
  const std::string head = std::to_string(model.Parts()[each.part].id) + ',' +
                           Cell(std::string(field.result)) + ',' +
                           Cell(StepText(model, field.step)) + ',';
  const std::span<const float> ids =
      numbers.ids == nullptr ? std::span<const float>() : *numbers.ids;
  for (std::size_t i = 0; i < field.count; ++i) {
    rows.Add(head).AddNumber(i).Add(",");
    AddId(rows, ids, i);
    for (std::size_t component = 0; component < field.components; ++component) {
      const float value = (*numbers.values)[i * field.components + component];
      rows.Add(",");
      if (IsIds(field)) {
        rows.AddNumber(Lbt::Util::Clamped<std::int32_t>(value));
      } else {
        rows.Add(ExactText(value));
      }
    }
    rows.EndRow();
  }
}

void WriteHeading(const Asked& asked, Rows& rows) {
  rows.Add("part,result,step,index,id");
  for (unsigned int i = 0; i < asked.fields.front().field->components; ++i) {
    rows.Add(",v").AddNumber(i + 1);
  }
  rows.EndRow();
}

void WriteNpy(const Field& field, const std::vector<float>& values, std::ostream& stream) {
  const std::string shape = std::to_string(field.count) + ',' +
                            (field.components == 1 ? "" : ' ' + std::to_string(field.components));
  const auto numbers = std::span(values).first(field.count * field.components);
  if (!IsIds(field)) {
    WriteNpyHeader(stream, "<f4", shape);
    WriteRaw<float>(stream, numbers);
    return;
  }
  std::vector<std::int64_t> ids;
  ids.reserve(numbers.size());
  for (const float id : numbers) {
    ids.push_back(Lbt::Util::Clamped<std::int32_t>(id));
  }
  WriteNpyHeader(stream, "<i8", shape);
  WriteRaw<std::int64_t>(stream, ids);
}

/// The faces of one part at one step.
struct AskedFaces {
  std::size_t part = 0;
  std::optional<std::size_t> step;
  MeshVariables mesh;
};

/// A mesh is that of each step that has faces of its own.
std::vector<AskedFaces> FindFaces(const Model& model, const Selection& selection) {
  std::vector<AskedFaces> found;
  const SelectedSteps steps(model, selection.steps);
  for (const std::size_t part : SelectParts(model, selection.parts)) {
    for (const auto& step : model.StepsWith(model.Parts()[part], kFaces)) {
      if (steps.Has(step)) {
        found.push_back({part, step, model.MeshAt(model.Parts()[part], step)});
      }
    }
  }
  return found;
}

struct LoadedFaces {
  std::vector<unsigned int> nodes;
  std::vector<unsigned int> lengths;
  std::vector<float> ids;
};

template <class T>
std::vector<T> LoadOf(const LbtTev::Geometry::VarStruct* variable) {
  return variable == nullptr ? std::vector<T>() : LoadArray<T>(variable->array);
}

LoadedFaces Load(const MeshVariables& mesh) {
  LoadedFaces faces{LoadOf<unsigned int>(mesh.faces), LoadOf<unsigned int>(mesh.lengths),
                    LoadOf<float>(mesh.elementIds)};
  CheckFaces(faces.nodes, faces.lengths,
             mesh.coordinates == nullptr ? 0 : TuplesOf(mesh.coordinates->array));
  return faces;
}

void WriteFaces(const Model& model, const AskedFaces& asked, const LoadedFaces& faces, Rows& rows) {
  const std::string head =
      std::to_string(model.Parts()[asked.part].id) + ',' + Cell(StepText(model, asked.step)) + ',';
  std::size_t next = 0;
  for (std::size_t face = 0; face < faces.lengths.size(); ++face) {
    rows.Add(head).AddNumber(face).Add(",");
    AddId(rows, faces.ids, face);
    for (const std::size_t end = next + faces.lengths[face]; next < end; ++next) {
      rows.Add(",").AddNumber(faces.nodes[next]);
    }
    rows.EndRow();
  }
}

void WriteFacesAsCsv(const Model& model, const std::vector<AskedFaces>& asked,
                     AnswerWriter& writer) {
  // All lengths first: the heading has as many columns as the longest face has nodes.
  unsigned int longest = 0;
  for (const AskedFaces& each : asked) {
    const auto lengths = LoadOf<unsigned int>(each.mesh.lengths);
    longest = lengths.empty() ? longest : std::max(longest, std::ranges::max(lengths));
  }
  Rows rows(writer.Text());
  rows.Add("part,step,index,id");
  for (unsigned int i = 0; i < longest; ++i) {
    rows.Add(",n").AddNumber(i + 1);
  }
  rows.EndRow();
  for (const AskedFaces& each : asked) {
    WriteFaces(model, each, Load(each.mesh), rows);
  }
}

/// "m.npy" becomes "m.offsets.npy".
std::string PathWith(const std::string& path, const std::string& part) {
  constexpr std::string_view kEnding = ".npy";
  const std::string stem =
      path.ends_with(kEnding) ? path.substr(0, path.size() - kEnding.size()) : path;
  return stem + '.' + part + std::string(kEnding);
}

void WriteNpyFile(const std::string& path, const std::string& model,
                  std::span<const unsigned int> numbers) {
  AnswerOutput output(path);
  output.RequireApartFrom({model});
  WriteNpyHeader(output.Stream(), "<u4", std::to_string(numbers.size()) + ',');
  WriteRaw<unsigned int>(output.Stream(), numbers);
  output.Finish();
}

void WriteFacesAsNpy(const AskedFaces& asked, const std::string& path, const std::string& model) {
  const LoadedFaces faces = Load(asked.mesh);
  std::vector<unsigned int> offsets{0};
  for (const unsigned int length : faces.lengths) {
    offsets.push_back(offsets.back() + length);
  }
  WriteNpyFile(PathWith(path, "offsets"), model, offsets);
  WriteNpyFile(PathWith(path, "indices"), model, faces.nodes);
}

/// Hands the numbers of all fields out in their order; tells "writer" of those that fail.
void ForNumbers(const Model& model, const Asked& asked, AnswerWriter& writer,
                const std::function<void(const FieldOfPart&, const LoadedNumbers&)>& take) {
  std::vector<WantedNumbers> wanted;
  for (const FieldOfPart& each : asked.fields) {
    WantedNumbers& numbers = wanted.emplace_back(WantedFor(model, each));
    numbers.faces = nullptr;  // all of the array, whoever uses it
    numbers.lengths = nullptr;
  }
  std::map<std::size_t, LoadedNumbers> early;
  std::size_t next = 0;
  LoadInFileOrder(model.GetTree(), wanted, [&](LoadedNumbers loaded) {
    early.emplace(loaded.place, std::move(loaded));
    for (auto turn = early.find(next); turn != early.end(); turn = early.find(++next)) {
      const FieldOfPart& each = asked.fields[next];
      if (turn->second.failure != nullptr) {
        writer.AddMissing(NameOfField(model, each) + ": " + FailureOf(turn->second.failure).what());
      } else {
        take(each, turn->second);
      }
      early.erase(turn);
    }
  });
}

void AnswerMesh(const Model& model, const Input& input, AnswerWriter& writer,
                const Options& options, const std::string& output) {
  const auto asked = Selecting(input.path, [&] { return FindFaces(model, *options.selection); });
  if (asked.empty()) {
    throw UsageError(input.path + ": no mesh with faces fits what is asked for");
  }
  if (options.format == Format::Csv) {
    WriteFacesAsCsv(model, asked, writer);
    return;
  }
  if (asked.size() != 1) {
    throw UsageError(input.path + ": npy holds one mesh, and " + std::to_string(asked.size()) +
                     " fit");
  }
  WriteFacesAsNpy(asked.front(), output, input.source);
}

void AnswerFields(const Model& model, const Input& input, AnswerWriter& writer,
                  const Options& options) {
  Asked asked;
  Selecting(input.path, [&] { Find(model, *options.selection, asked); });
  RequireOneTable(model, asked, options.format, input.path);
  if (options.format == Format::Npy) {
    ForNumbers(model, asked, writer, [&](const FieldOfPart& each, const LoadedNumbers& numbers) {
      WriteNpy(*each.field, *numbers.values, writer.Text());
    });
    return;
  }
  Rows rows(writer.Text());
  WriteHeading(asked, rows);
  ForNumbers(model, asked, writer, [&](const FieldOfPart& each, const LoadedNumbers& numbers) {
    WriteCsv(model, each, numbers, rows);
  });
}

void Answer(const Input& input, AnswerWriter& writer, const Options& options,
            const std::string& meshOutput) {
  WithModel(input, writer, [&](const LbtTev::Tree& tree) {
    const Model model(tree);
    if (options.mesh) {
      AnswerMesh(model, input, writer, options, meshOutput);
    } else {
      AnswerFields(model, input, writer, options);
    }
  });
}

Action SetUp(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  const auto run =
      std::make_shared<FileRun>(FileRun{.verb = "values", .layout = TextLayout::Lines});
  AddModel(app, run);
  AddSelectionOptions(app, options->selection);
  app.add_option_function<std::string>(
         "--format",
         [options](const std::string& name) {
           options->format = name == "npy" ? Format::Npy : Format::Csv;
         },
         "csv (as it is without), or npy for one field")
      ->check(CLI::IsMember({"csv", "npy"}))
      ->option_text("FORMAT");
  app.add_flag("--mesh", options->mesh, "Write the faces in place of fields");
  AddOutputOptions(app, run);
  return [run, options] {
    std::string meshOutput;
    if (options->mesh && options->format == Format::Npy) {
      meshOutput = std::exchange(run->output, {});
      if (meshOutput.empty() || meshOutput == "-") {
        throw UsageError("--mesh as npy is two files: name them by -o NAME.npy");
      }
    }
    if (options->mesh && !options->selection->results.empty()) {
      throw UsageError("--mesh has no results");
    }
    run->answer = [options, meshOutput](const Input& input, AnswerWriter& writer) {
      Answer(input, writer, *options, meshOutput);
    };
    return RunOverFiles(*run);
  };
}

constexpr const char* kNotes =
    "CSV is one table of all fields that fit, with floats in the shortest form that reads back as\n"
    "the same float. npy is one field of float32. Coordinates, 'Node Ids' and 'Element Ids' may "
    "be\n"
    "asked for by --result, too; ids are whole numbers, in npy int64. --mesh writes a face a row, "
    "or\n"
    "as npy -o NAME.npy the files NAME.offsets.npy and NAME.indices.npy of uint32.\n"
    "Example: tev values --part FINS --result Temperature --step 'Time = 10' heatsink.tev\n"
    "Exit status: 0 done, 1 bad usage or nothing fits, 2 the model failed.";

}  // namespace

Verb ValuesVerb() {
  return {.name = "values",
          .summary = "Write the numbers of fields and meshes exactly",
          .notes = kNotes,
          .setUp = SetUp};
}
