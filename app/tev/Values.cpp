// tev values: numbers of fields and meshes, exactly as they are stored.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Statistics.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/StoredNumbers.h"
#include "tev/FieldOptions.h"
#include "tev/MeshValues.h"
#include "tev/OpenedModel.h"
#include "tev/ValueForms.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

using namespace LbtTev::Analysis;
using LbtTev::MeshName::kCoordinates;
using LbtTev::MeshName::kElementIds;
using LbtTev::MeshName::kNodeIds;

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

MeshRole RoleOf(std::string_view meshName) {
  return meshName == kCoordinates ? &MeshVariables::coordinates
         : meshName == kNodeIds   ? &MeshVariables::nodeIds
                                  : &MeshVariables::elementIds;
}

void AddMeshFields(const Model& model, std::span<const std::size_t> parts, std::string_view name,
                   const SelectedSteps& steps, Asked& asked) {
  const MeshRole role = RoleOf(name);
  for (const MeshOfPart& each : MeshesOfParts(model, parts, steps, role)) {
    const auto* variable = each.mesh.*role;
    asked.fields.push_back(
        {each.part, &asked.ofMeshes.emplace_back(
                        Field{.result = name,
                              .step = each.step,
                              .location = name == kElementIds ? Location::Element : Location::Node,
                              .components = variable->array.GetWidth(),
                              .count = TuplesOf(variable->array),
                              .variable = variable})});
  }
}

/// Of each part first what was asked for of its mesh.
void Find(const Model& model, const Selection& selection, Asked& asked) {
  const auto results = SelectResults(model, selection.results, kMeshNames);
  const SelectedSteps steps(model, selection.steps);
  const std::vector<std::size_t> parts = SelectParts(model, selection.parts);
  for (const std::string_view name : kMeshNames) {
    if (std::ranges::find(results, name) != results.end()) {
      AddMeshFields(model, parts, name, steps, asked);
    }
  }
  const auto fields = FieldsOfParts(model, parts, [&](const Field& field) {
    return steps.Has(field.step) && std::ranges::binary_search(results, field.result);
  });
  asked.fields.insert(asked.fields.end(), fields.begin(), fields.end());
  std::ranges::stable_sort(asked.fields, {}, &FieldOfPart::part);
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

void WriteCsv(const Model& model, const FieldOfPart& each, std::span<const float> values,
              std::span<const float> ids, Rows& rows) {
  const Field& field = *each.field;
  const std::string head = std::to_string(model.Parts()[each.part].id) + ',' +
                           Cell(std::string(field.result)) + ',' +
                           Cell(StepText(model, field.step)) + ',';
  for (std::size_t i = 0; i < field.count; ++i) {
    rows.Add(head).AddNumber(i).Add(",");
    rows.AddId(IdAt(ids, i));
    for (std::size_t component = 0; component < field.components; ++component) {
      const float value = values[i * field.components + component];
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

void WriteNpy(const Field& field, std::span<const float> values, std::ostream& stream) {
  const std::string shape = std::to_string(field.count) + ',' +
                            (field.components == 1 ? "" : ' ' + std::to_string(field.components));
  const auto numbers = values.first(field.count * field.components);
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

/// Takes a field with its numbers and its ids.
using TakeNumbers =
    std::function<void(const FieldOfPart&, std::span<const float>, std::span<const float>)>;

/// Hands the numbers of all fields out in their order, all of each array, whoever uses it; ids only
/// for formats that have them. Tells "writer" of those that fail.
void ForNumbers(const Model& model, const Asked& asked, Format format, AnswerWriter& writer,
                const TakeNumbers& take) {
  std::vector<WantedGroup> wanted;
  for (const FieldOfPart& each : asked.fields) {
    const MeshVariables mesh = model.MeshAt(model.Parts()[each.part], each.field->step);
    const auto* ids = format == Format::Npy ? nullptr : mesh.IdsOf(each.field->location);
    wanted.push_back({{each.field->variable}, {ids, false, WantedArray::Turn::BeforeFirst}});
  }
  InOrder<LoadedGroup> inOrder([&](std::size_t place, const LoadedGroup& loaded) {
    const FieldOfPart& each = asked.fields[place];
    if (const std::exception_ptr failure = FailureOf(loaded); failure != nullptr) {
      writer.AddMissing(NameOfField(model, each) + ": " + FailureOf(failure).what());
    }
    if (loaded[0].failure == nullptr) {
      take(each, loaded[0].Floats(), loaded[1].Floats());
    }
  });
  LoadInFileOrder({&model.GetTree(), wanted}, [&](std::size_t place, const LoadedGroup& loaded) {
    inOrder.Add(place, loaded);
  });
}

void AnswerFields(const Model& model, const Input& input, AnswerWriter& writer,
                  const Options& options) {
  Asked asked;
  Selecting(input.path, [&] { Find(model, *options.selection, asked); });
  RequireOneTable(model, asked, options.format, input.path);
  if (options.format == Format::Npy) {
    ForNumbers(model, asked, options.format, writer,
               [&](const FieldOfPart& each, std::span<const float> values, const auto& /*ids*/) {
                 WriteNpy(*each.field, values, writer.Text());
               });
    return;
  }
  Rows rows(writer.Text());
  WriteHeading(asked, rows);
  ForNumbers(model, asked, options.format, writer,
             [&](const FieldOfPart& each, std::span<const float> values,
                 std::span<const float> ids) { WriteCsv(model, each, values, ids, rows); });
}

void Answer(const Input& input, AnswerWriter& writer, const Options& options,
            const std::string& meshOutput) {
  WithModel(input, writer, [&](const LbtTev::Tree& tree) {
    const Model model(tree);
    if (options.mesh) {
      AnswerMesh(model, *options.selection, input, writer,
                 options.format == Format::Npy ? std::optional(meshOutput) : std::nullopt);
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
        throw OptionError("--mesh as npy is two files: name them by -o NAME.npy");
      }
    }
    if (options->mesh && !options->selection->results.empty()) {
      throw OptionError("--mesh has no results");
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
