// How the tree records of a model refer to each other.

#include "RecordCheck.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>
#include <optional>
#include <string>
#include <utility>

namespace LbtTev::Check {

using LbtTev::TreeRecord;
using Link = unsigned int TreeRecord::*;

namespace {

/// Tree records as a tree has them: one for each id, by id, and one for the root in any case.
class RecordGraph {
 public:
  /// No node.
  static constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

  /// "records" must outlive this. Of those with one id, the last counts.
  explicit RecordGraph(const std::vector<PlacedRecord>& records);
  RecordGraph(const RecordGraph&) = delete;
  RecordGraph& operator=(const RecordGraph&) = delete;
  ~RecordGraph() = default;

  /// Nodes are numbered from 0 on, in the order of their ids.
  [[nodiscard]] std::size_t Count() const { return nodes_.size(); }
  [[nodiscard]] const PlacedRecord& At(std::size_t node) const { return *nodes_[node]; }

  /// None for id 0, which means none in every link, and for one that no record has.
  [[nodiscard]] std::size_t Find(unsigned int id) const;

  [[nodiscard]] std::size_t Root() const { return Find(kRootId); }

 private:
  static constexpr unsigned int kRootId = 1;

  PlacedRecord rootless_;  // stands for a root that no record has
  std::vector<const PlacedRecord*> nodes_;
};

constexpr std::size_t kNone = RecordGraph::kNone;

unsigned int IdOf(const PlacedRecord* record) { return record->id; }

RecordGraph::RecordGraph(const std::vector<PlacedRecord>& records) {
  rootless_.id = kRootId;
  nodes_.reserve(records.size() + 1);
  nodes_.push_back(&rootless_);
  for (const PlacedRecord& record : records) {
    nodes_.push_back(&record);
  }
  std::ranges::stable_sort(nodes_, {}, IdOf);
  // From the end, so that the last of each id is the one that stays.
  const auto dropped = std::unique(
      nodes_.rbegin(), nodes_.rend(),
      [](const PlacedRecord* one, const PlacedRecord* other) { return one->id == other->id; });
  nodes_.erase(nodes_.begin(), dropped.base());
}

std::size_t RecordGraph::Find(unsigned int id) const {
  const auto found = std::ranges::lower_bound(nodes_, id, {}, IdOf);
  const bool isThere = id != 0 && found != nodes_.end() && (*found)->id == id;
  return isThere ? static_cast<std::size_t>(found - nodes_.begin()) : kNone;
}

/// Tells of records, and where in the file they are.
class Teller {
 public:
  Teller(const StreamMap& map, FindingLog& log) : map_(&map), log_(&log) {}

  void operator()(const PlacedRecord& record, Finding::Kind kind, std::string text,
                  std::optional<std::uint64_t> claimed = std::nullopt) const {
    Finding finding{.kind = kind,
                    .text = std::move(text),
                    .node = NumberedName{record.id, record.name},
                    .claimed = claimed};
    if (record.position) {
      map_->Place(*record.position, finding);
    }
    log_->Add(std::move(finding));
  }

 private:
  const StreamMap* map_;
  FindingLog* log_;
};

/// Tells of each record that takes the place of one before it, in the order of the file.
void FindRepeatedIds(const std::vector<PlacedRecord>& records, const Teller& tell) {
  std::vector<std::size_t> byId(records.size());
  std::iota(byId.begin(), byId.end(), std::size_t{0});
  std::ranges::stable_sort(byId, {}, [&](std::size_t place) { return records[place].id; });
  std::vector<std::pair<std::size_t, std::size_t>> repeated;
  for (std::size_t i = 1; i < byId.size(); ++i) {
    if (records[byId[i]].id == records[byId[i - 1]].id) {
      repeated.emplace_back(byId[i], byId[i - 1]);
    }
  }
  std::ranges::sort(repeated);
  for (const auto& [place, before] : repeated) {
    tell(records[place], Finding::Kind::RepeatedId,
         "tree record " + std::to_string(place) + " takes the place of record " +
             std::to_string(before) + ", which has the same id");
  }
}

struct NamedLink {
  Link link;
  const char* name;
};

constexpr std::array<NamedLink, 5> kLinks{{{&TreeRecord::parent, "parent"},
                                           {&TreeRecord::previousSibling, "previous sibling"},
                                           {&TreeRecord::nextSibling, "next sibling"},
                                           {&TreeRecord::firstChild, "first child"},
                                           {&TreeRecord::lastChild, "last child"}}};

void FindLinksToNothing(const RecordGraph& graph, const Teller& tell) {
  for (std::size_t node = 0; node < graph.Count(); ++node) {
    for (const NamedLink& link : kLinks) {
      const unsigned int id = graph.At(node).*link.link;
      if (id != 0 && graph.Find(id) == kNone) {
        tell(graph.At(node), Finding::Kind::LinkToNothing,
             std::string("its ") + link.name + " is a node that does not exist", id);
      }
    }
  }
}

/// Finds shapes that reports cannot be made of. A link to nothing has been told of already.
void FindShapesWithoutGeometry(const RecordGraph& graph, const Teller& tell) {
  for (std::size_t node = 0; node < graph.Count(); ++node) {
    const PlacedRecord& record = graph.At(node);
    if (record.type != "Shape") {
      continue;
    }
    const std::size_t child = graph.Find(record.firstChild);
    if (record.firstChild == 0 || (child != kNone && graph.At(child).type != "Geometry")) {
      tell(record, Finding::Kind::NoGeometry, "the first child of a shape must be a geometry",
           record.firstChild);
    }
  }
}

/// Finds the rings that the links of one kind form: each node has one, so following them
/// either ends or comes back. Every node is passed once.
void FindRings(const RecordGraph& graph, Link link, const std::string& text, const Teller& tell) {
  std::vector<std::size_t> seenFrom(graph.Count(), kNone);
  for (std::size_t start = 0; start < graph.Count(); ++start) {
    std::size_t node = start;
    while (node != kNone && seenFrom[node] == kNone) {
      seenFrom[node] = start;
      node = graph.Find(graph.At(node).*link);
    }
    if (node != kNone && seenFrom[node] == start) {
      tell(graph.At(node), Finding::Kind::Cycle, text);
    }
  }
}

/// Goes through the lists of children, each node once and each list up to the first node that
/// was met before. Keeps a stack of its own: models may nest to any depth.
class ChildWalk {
 public:
  ChildWalk(const RecordGraph& graph, const Teller& tell)
      : graph_(&graph), tell_(&tell), parents_(graph.Count(), kNone), states_(graph.Count()) {}

  /// Walks what lies below "top"; false where that was met before.
  bool From(std::size_t top) {
    if (states_[top] != State::Unmet) {
      return false;
    }
    Enter(top);
    while (!open_.empty()) {
      const std::size_t parent = open_.back().node;
      const std::size_t child = open_.back().next;
      if (child == kNone) {
        states_[parent] = State::Done;
        open_.pop_back();
      } else if (states_[child] != State::Unmet) {
        open_.back().next = kNone;  // the rest of the list has been seen
        Report(child, parent);
      } else {
        open_.back().next = graph_->Find(graph_->At(child).nextSibling);
        parents_[child] = parent;
        Enter(child);
      }
    }
    return true;
  }

 private:
  enum class State : unsigned char {
    Unmet,
    Open,  // it, or what lies below it, is at work
    Done,
  };
  struct Level {
    std::size_t node;
    std::size_t next;
  };

  void Enter(std::size_t node) {
    states_[node] = State::Open;
    open_.push_back({node, graph_->Find(graph_->At(node).firstChild)});
  }

  void Report(std::size_t child, std::size_t parent) {
    const std::string otherId = std::to_string(graph_->At(parent).id);
    if (states_[child] == State::Open) {
      (*tell_)(graph_->At(child), Finding::Kind::Cycle,
               "it stands below itself, in the children of node " + otherId);
    } else if (parents_[child] != kNone && parents_[child] != parent) {
      (*tell_)(graph_->At(child), Finding::Kind::SharedChild,
               "it stands in the children of node " +
                   std::to_string(graph_->At(parents_[child]).id) + " and of node " + otherId);
    }
  }

  const RecordGraph* graph_;
  const Teller* tell_;
  std::vector<std::size_t> parents_;
  std::vector<State> states_;
  std::vector<Level> open_;
};

/// Which nodes stand in some list of children.
std::vector<bool> ChildrenIn(const RecordGraph& graph) {
  std::vector<bool> isChild(graph.Count());
  for (std::size_t parent = 0; parent < graph.Count(); ++parent) {
    std::size_t child = graph.Find(graph.At(parent).firstChild);
    while (child != kNone && !isChild[child]) {
      isChild[child] = true;
      child = graph.Find(graph.At(child).nextSibling);
    }
  }
  return isChild;
}

/// Finds what is wrong with the lists of children. Of nodes that the root does not reach, only
/// the topmost are told.
void FindChildFaults(const RecordGraph& graph, bool areAll, const Teller& tell) {
  ChildWalk walk(graph, tell);
  walk.From(graph.Root());
  const auto walkTop = [&](std::size_t top) {
    if (walk.From(top) && areAll) {
      tell(graph.At(top), Finding::Kind::UnreferencedNode,
           "no list of children leads to it from the root");
    }
  };
  const std::vector<bool> isChild = ChildrenIn(graph);
  for (std::size_t node = 0; node < graph.Count(); ++node) {
    if (!isChild[node]) {
      walkTop(node);
    }
  }
  for (std::size_t node = 0; node < graph.Count(); ++node) {
    walkTop(node);  // what is left are rings, in which each one has a parent
  }
}

}  // namespace

void CheckStructure(const TreeRecords& read, const StreamMap& map, FindingLog& log) {
  const Teller tell(map, log);
  FindRepeatedIds(read.records, tell);
  const RecordGraph graph(read.records);
  if (read.areAll) {
    FindLinksToNothing(graph, tell);
  }
  FindShapesWithoutGeometry(graph, tell);
  FindRings(graph, &TreeRecord::parent, "its parents lead back to itself", tell);
  FindRings(graph, &TreeRecord::previousSibling, "its previous siblings lead back to itself", tell);
  FindRings(graph, &TreeRecord::nextSibling, "its next siblings lead back to itself", tell);
  FindChildFaults(graph, read.areAll, tell);
}

}  // namespace LbtTev::Check
