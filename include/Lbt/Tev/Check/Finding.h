#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace LbtTev::Check {

/// Something of a model file that has a number (or an id) and a name.
struct NumberedName {
  /// Characters of a name that are kept: a finding must not cost what a name may be long.
  static constexpr std::size_t kLongest = 256;

  NumberedName() = default;
  NumberedName(std::uint64_t itsNumber, std::string_view itsName)
      : number(itsNumber), name(itsName.substr(0, kLongest)) {
    if (itsName.size() > kLongest) {
      name += "...";
    }
  }

  std::uint64_t number = 0;
  std::string name;
};

/// One thing that is wrong with a model file. Blocks, tree records and variables are numbered
/// from 0 on.
struct Finding {
  enum class Kind {
    Header,            ///< no Tev file, or one that ends before its header does
    OddVersion,        ///< the version is no number, and read as far as it is one
    Index,             ///< the index cannot be read
    BlockOutsideFile,  ///< the file ends before a block does
    UnreadableBlock,   ///< a block cannot be read or inflated
    RecordedLength,    ///< less comes out of a block than its recorded length
    UnusedBytes,  ///< a stream, or bytes of an index, a tree, light data or the file, that nothing
                  ///< reads
    MissingTree,  ///< there are no tree records at all
    MissingStream,     ///< another stream of models is absent, and there is one of unknown name
    UnreadableRecord,  ///< records of the tree, of nodes or of modifiers end too early, say
    RepeatedId,        ///< two tree records have one id
    LinkToNothing,     ///< a node or a variable refers to something that does not exist
    Cycle,             ///< following links of one kind leads back to where it began
    SharedChild,       ///< a node stands in the children of two others
    NoGeometry,        ///< the first child of a shape is no geometry
    UnreferencedNode,  ///< no list of children leads from the root to a node
    ByteCount,         ///< the data of a variable makes no whole items
    UnreadableData,    ///< the data of a variable cannot be loaded
    NodeRange,         ///< faces refer to nodes that their mesh does not have
    FaceLengths,       ///< lengths of faces do not make up the list of their nodes
    OverlappingData,   ///< variables share data to such an extent that not all was loaded
    NotFinite,         ///< numbers of a field are NaN or infinite
  };
  enum class Severity {
    Warning,  ///< nothing is lost: what nothing reads, say
    Damage,
  };

  Kind kind;
  std::string text;                                  ///< what is wrong, without the numbers below
  std::optional<NumberedName> block = std::nullopt;  ///< its name is that of its stream
  /// The stream, where the block is unknown: the length of an earlier block of it cannot be read.
  std::optional<std::string> stream = std::nullopt;
  std::optional<NumberedName> node = std::nullopt;  ///< by id
  std::optional<NumberedName> variable = std::nullopt;
  /// The byte of the file where it is; the start of the block where that is compressed.
  std::optional<std::uint64_t> offset = std::nullopt;
  std::optional<std::uint64_t> claimed = std::nullopt;  ///< what the file says
  std::optional<std::uint64_t> found = std::nullopt;    ///< what there is
  /// The finding that it follows from, by its number: findings count from 0 on, as they are told.
  std::optional<std::uint64_t> cause = std::nullopt;
};

/// The name of a kind for scripts, "link-to-nothing", and how bad it is.
[[nodiscard]] std::string_view NameOf(Finding::Kind kind);
[[nodiscard]] Finding::Severity SeverityOf(Finding::Kind kind);

/// "damage" or "warning".
[[nodiscard]] std::string_view NameOf(Finding::Severity severity);

/// Takes each finding as it is made. What it throws ends the check.
using FindingSink = std::function<void(const Finding&)>;

}  // namespace LbtTev::Check
