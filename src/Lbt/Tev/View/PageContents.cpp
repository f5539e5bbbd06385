// Puts the meshes and values of a model on a page.

#include "Lbt/Tev/View/PageContents.h"

#include <algorithm>
#include <array>
#include <future>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <string_view>
#include <tuple>
#include <utility>

#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/LoadedMesh.h"
#include "Lbt/Tev/View/Skin.h"
#include "PageValues.h"
#include "SharedMesh.h"

namespace LbtTev::View {

namespace {

using Analysis::LoadedGroup;
using Analysis::Location;
using Analysis::MeshOfPart;

template <class Take>
void ForExtremes(const Analysis::Statistics& statistics, const Take& take) {
  const auto both = [&take](const Analysis::Figures& figures) {
    if (figures.finite != 0) {
      take(figures.min.index);
      take(figures.max.index);
    }
  };
  std::ranges::for_each(statistics.components, both);
  if (statistics.magnitude) {
    both(*statistics.magnitude);
  }
}

class Filling {
 public:
  Filling(const Analysis::Model& model, std::span<const FieldWithStatistics> fields,
          const Analysis::CellRules& rules, const PageStyle& style, Page& page,
          const PageListener& listener)
      : model_(&model),
        fields_(fields),
        rules_(&rules),
        page_(&page),
        listener_(&listener),
        threads_(style.threads),
        values_(style, page) {
    contents_.meshes.resize(model.Parts().size());
    contents_.fields.resize(fields.size());
    contents_.taken.resize(model.Parts().size());
  }

  void FindMeshes() {
    constexpr std::array<Analysis::MeshRole, 3> kRoles{&LbtTev::MeshVariables::coordinates,
                                                       &LbtTev::MeshVariables::faces,
                                                       &LbtTev::MeshVariables::lengths};
    Analysis::RepeatedRows rows(*model_);
    for (std::size_t part = 0; part < model_->Parts().size(); ++part) {
      for (const auto step : model_->StepsWith(model_->Parts()[part], kRoles)) {
        rows.Add(part, "");
        MeshOfPart mesh{part, step, model_->MeshAt(model_->Parts()[part], step)};
        if (mesh.mesh.coordinates != nullptr) {
          SharedMesh& shared = shared_[MeshKeyOf(mesh.mesh)];
          shared.first = mesh;
          meshes_.push_back(mesh);
          sharedOf_.push_back(&shared);
          placeOf_[{part, step}] = meshes_.size() - 1;
        }
      }
    }
  }

  /// Extremes that are marked lie at points of the page, also where these are inside.
  void FindMarks() {
    for (const FieldWithStatistics& each : fields_) {
      SharedMesh* mesh = MeshOf(each);
      if (mesh != nullptr && each.statistics) {
        auto& marked = LocationOf(each, *mesh) == Location::Element ? mesh->elements : mesh->marked;
        ForExtremes(*each.statistics, [&marked](std::size_t index) { marked.insert(index); });
      }
    }
    FindNodesOfElements();
  }

  void AddSkins() {
    GatherSkins(
        *model_, meshes_, *rules_,
        [&](std::size_t place, const PartSkin& skin, const std::exception_ptr& failure) {
          const std::size_t part = meshes_[place].part;
          if (failure != nullptr) {
            listener_->meshFailed(meshes_[place], failure);
            return;
          }
          listener_->skinFound(meshes_[place], skin);
          if (contents_.taken[part].empty()) {
            contents_.taken[part] = skin.taken;
          }
          if (!sharedOf_[place]->isThere) {
            Pack(*sharedOf_[place], skin);
          }
        },
        threads_);
  }

  void AddNumbers() {
    std::vector<Analysis::WantedGroup> wanted;
    std::vector<std::function<void(const LoadedGroup&)>> takes;
    for (auto& [key, mesh] : shared_) {
      if (mesh.isThere) {
        wanted.push_back({Analysis::WantedIds(mesh.first.mesh.nodeIds),
                          Analysis::WantedIds(mesh.first.mesh.elementIds)});
        takes.emplace_back(
            [this, &shared = mesh](const LoadedGroup& loaded) { shared.TakeIds(loaded, *page_); });
      }
    }
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      const SharedMesh* mesh = MeshOf(fields_[i]);
      if (mesh != nullptr && mesh->isThere && LocationOf(fields_[i], *mesh) != Location::Unknown) {
        wanted.push_back({{.variable = fields_[i].field.field->variable, .mayStayStored = true}});
        takes.emplace_back(
            [this, i, mesh](const LoadedGroup& loaded) { AddField(i, *mesh, loaded[0]); });
      }
    }
    Analysis::LoadInFileOrder({&model_->GetTree(), wanted, {.threads = threads_}},
                              [&](std::size_t place, const LoadedGroup& loaded) {
                                FinishPacking();
                                takes[place](loaded);
                              });
    FinishPacking();
  }

  /// Fields of one result are kept in the order of their steps, and by one range.
  void AddValues() {
    using Key = std::tuple<std::size_t, std::optional<std::size_t>, std::size_t, std::string_view,
                           std::size_t, bool>;
    std::map<Key, std::vector<std::size_t>> results;
    for (std::size_t place = 0; place < fields_.size(); ++place) {
      if (const auto& field = contents_.fields[place]; field) {
        const Analysis::FieldOfPart& each = fields_[place].field;
        const MeshOfPart& mesh = MeshOf(fields_[place])->first;
        results[{mesh.part, mesh.step, each.part, each.field->result, each.field->components,
                 field->ofFaces}]
            .push_back(place);
      }
    }
    for (auto& [key, places] : results) {
      std::ranges::stable_sort(
          places, {}, [this](std::size_t place) { return fields_[place].field.field->step; });
      for (std::size_t component = 0; component < std::get<4>(key); ++component) {
        values_.AddComponent(places, component, contents_);
      }
    }
  }

  [[nodiscard]] PageContents Result() {
    for (std::size_t i = 0; i < meshes_.size(); ++i) {
      if (sharedOf_[i]->isThere) {
        PageMesh& mesh = contents_.meshes[meshes_[i].part].emplace_back(sharedOf_[i]->page);
        mesh.step = meshes_[i].step;
      }
    }
    // Fields of steps without a mesh are on the first one.
    for (auto& meshes : contents_.meshes) {
      if (!meshes.empty() && meshes.front().step) {
        meshes.push_back(meshes.front());
        meshes.back().step.reset();
      }
    }
    return std::move(contents_);
  }

 private:
  /// Deflates a mesh while what comes next is read.
  void Pack(SharedMesh& mesh, const PartSkin& skin) {
    FinishPacking();
    mesh.isThere = true;
    packing_ = std::async(
        threads_ == 0 ? std::launch::deferred : std::launch::async | std::launch::deferred,
        [this, &mesh, skin] { mesh.TakeSkin(skin, *page_); });
  }

  void FinishPacking() {
    if (packing_.valid()) {
      packing_.get();
    }
  }

  /// The mesh that a field is shown on: that of its step, else the one without, else the first.
  [[nodiscard]] SharedMesh* MeshOf(const FieldWithStatistics& each) const {
    auto found = placeOf_.find({each.field.part, each.field.field->step});
    found = found == placeOf_.end() ? placeOf_.find({each.field.part, std::nullopt}) : found;
    found = found == placeOf_.end() ? placeOf_.lower_bound({each.field.part, std::nullopt}) : found;
    return found == placeOf_.end() || found->first.first != each.field.part
               ? nullptr
               : sharedOf_[found->second];
  }

  [[nodiscard]] static Location LocationOf(const FieldWithStatistics& each,
                                           const SharedMesh& mesh) {
    return Analysis::LocationOn(mesh.first.mesh, *each.field.field);
  }

  void FindNodesOfElements() {
    std::vector<Analysis::WantedGroup> wanted;
    std::vector<SharedMesh*> meshes;
    for (auto& [key, mesh] : shared_) {
      if (!mesh.elements.empty() && mesh.first.mesh.faces != nullptr) {
        wanted.push_back(Analysis::WantedMesh(mesh.first.mesh));
        meshes.push_back(&mesh);
      }
    }
    Analysis::LoadInFileOrder({&model_->GetTree(), wanted, {.threads = threads_}},
                              [&meshes](std::size_t place, const LoadedGroup& loaded) {
                                if (Analysis::FailureOf(loaded) == nullptr) {
                                  meshes[place]->TakeElements(loaded[1].Wholes(),
                                                              loaded[2].Wholes());
                                }
                              });
  }

  void AddField(std::size_t place, const SharedMesh& mesh, const Analysis::LoadedArray& loaded) {
    if (loaded.failure != nullptr) {
      return;
    }
    const Analysis::Field& each = *fields_[place].field.field;
    const Analysis::FloatTuples tuples = loaded.Tuples(each.components);
    listener_->fieldFound(fields_[place].field, tuples);
    PageField field;
    field.ofFaces = LocationOf(fields_[place], mesh) == Location::Element;
    values_.Take(place,
                 {.mesh = &mesh,
                  .areOfFaces = field.ofFaces,
                  .array = Analysis::ArrayKey(each.variable->array),
                  .components = each.components},
                 tuples);
    AddMarks(field, mesh, fields_[place].statistics);
    contents_.fields[place] = std::move(field);
  }

  static void AddMarks(PageField& field, const SharedMesh& mesh,
                       const std::optional<Analysis::Statistics>& statistics) {
    const auto pointsAt = [&](const Analysis::Figures& figures, std::size_t index) {
      std::vector<std::size_t> points;
      const auto nodes = mesh.nodesOf.find(index);
      if (figures.finite != 0 && !field.ofFaces) {
        points.push_back(mesh.PointOf(index));
      } else if (figures.finite != 0 && nodes != mesh.nodesOf.end()) {
        std::ranges::transform(nodes->second, std::back_inserter(points),
                               [&mesh](std::size_t node) { return mesh.PointOf(node); });
      }
      return points;
    };
    const auto add = [&](const Analysis::Figures& figures) {
      field.marks.push_back(
          {pointsAt(figures, figures.min.index), pointsAt(figures, figures.max.index)});
    };
    if (statistics) {
      std::ranges::for_each(statistics->components, add);
      if (statistics->magnitude) {
        add(*statistics->magnitude);
      }
    }
  }

  const Analysis::Model* model_;
  std::span<const FieldWithStatistics> fields_;
  const Analysis::CellRules* rules_;
  Page* page_;
  const PageListener* listener_;
  std::size_t threads_;
  PageValues values_;
  PageContents contents_;
  std::vector<MeshOfPart> meshes_;
  std::vector<SharedMesh*> sharedOf_;  // of these
  std::map<std::pair<std::size_t, std::optional<std::size_t>>, std::size_t> placeOf_;
  std::map<MeshKey, SharedMesh> shared_;
  std::future<void> packing_;  // of one of these
};

}  // namespace

PageContents FillPage(const Analysis::Model& model, std::span<const FieldWithStatistics> fields,
                      const Analysis::CellRules& rules, const PageStyle& style, Page& page,
                      const PageListener& listener) {
  Filling filling(model, fields, rules, style, page, listener);
  filling.FindMeshes();
  filling.FindMarks();
  filling.AddSkins();
  filling.AddNumbers();
  filling.AddValues();
  return filling.Result();
}

}  // namespace LbtTev::View
