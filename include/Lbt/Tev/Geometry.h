#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Lbt/Tev/ModelStreams.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/NumericArray.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/AttributeValue.h"
#include "Lbt/Util/SharedAttributes.h"

namespace LbtTev {

class AttributeSetCache;

/// The mesh and the results of a part: variables with their numeric data, which
/// stays in the file until it is wanted.
class Geometry final : public Node {
 public:
  /// What a variable holds. Codes above LastMesh are results.
  enum class VariableType : std::uint32_t {
    Coordinates = 1,
    Connectivity4 = 4,
    Connectivity5 = 5,
    Connectivity6 = 6,
    VerticesPerFace = 9,
    LastMesh = 11,
  };

  /// One variable.
  struct VarStruct {
    std::string name;
    VariableType variableType{};
    bool isVibration = false;  ///< the "Category" attribute says "Vibration"
    bool isLinked = false;     ///< the data is that of another node's variable
    LbtUtil::SharedAttributes attributes;
    /// Those that describe how the data is stored, which "attributes" has not.
    LbtUtil::SharedAttributes storageAttributes;
    NumericArray array;
    unsigned int linkNodeId = 0;
    unsigned int linkVariableIndex = 0;
  };

  /// Whether a variable holds whole numbers that say how elements are made of nodes.
  [[nodiscard]] static bool IsConnectivity(VariableType type);

  [[nodiscard]] std::string GetType() const override { return std::string(NodeType::kGeometry); }
  /// "0.7": the geometry layout with 64-bit positions, unless this build is told to
  /// keep to the one before it.
  [[nodiscard]] std::string GetVersion() const override;

  /// Reads the variables of a geometry record. Light data of the versions "0.5", "0.6"
  /// and "0.7": variable count (u32), then for each variable
  ///
  ///   name (string), type (u32, of which the low byte counts unless it is
  ///   0xFFFFFFFF), isLinked (bool)
  ///   not linked: byte count (u32), width (1 byte), two flags (bool), two values
  ///     (float), a flag (bool), position in the heavy data (u32; u64 in "0.7")
  ///   linked: node id (u32, shifted by "idOffset" unless it is 0), variable index (u32)
  ///   a flag (bool); and one attribute set
  ///
  /// In "0.5" the data is read at once. Any other version goes to ReadOld. "cache" spares the
  /// decoding of attribute sets that were decoded before. Throws what reading streams throws.
  void Read(ModelStreams& streams, std::string_view version, unsigned int idOffset,
            AttributeSetCache* cache = nullptr);
  /// The same from the streams of these names.
  void ReadVc(LbtLbf::LbFile& file, std::string_view lightDataBlockName,
              std::string_view heavyDataBlockName, std::string_view attributesBlockName,
              std::string_view version, unsigned int idOffset);

  /// Reads the variables of a record from before "0.5": variable count (u32), then for
  /// each name (string), type (u32), byte count (u32), width (1 byte); unless the
  /// version is "0.0a" or "0.1" two flags (bool), two values (float), a flag (bool);
  /// from "0.3" on a flag (bool); from "0.4" on one attribute set; always the position
  /// in the heavy data (u32), which is not shuffled.
  void ReadOld(ModelStreams& streams, std::string_view version, AttributeSetCache* cache = nullptr);
  /// The same from the streams of these names.
  void ReadVc_l05(LbtLbf::LbFile& file, std::string_view lightDataBlockName,
                  std::string_view heavyDataBlockName, std::string_view attributesBlockName,
                  std::string_view version);

  /// Appends a variable and returns its index.
  unsigned int Add(std::string variableName, const VariableType& type, NumericArray array,
                   LbtUtil::AttributeMap attributes);

  /// Sets isVibration and takes over all attributes: into "storageAttributes" those that
  /// describe how the data is stored ("Complex", "Contents", "DataSource", "DataType",
  /// "Structure" and whatever begins with "Link."), into "attributes" all others.
  static void ProcessAttributes(VarStruct& variable, LbtUtil::AttributeMap attributes);

  /// Make the loaders of the connectivity variables, and of all others, from the
  /// stored positions. Throw "Element Not Found" for a variable without one.
  void LocateConnectivity(const std::shared_ptr<ModelStream>& heavy) { Locate(heavy, true); }
  void LocateOthers(const std::shared_ptr<ModelStream>& heavy) { Locate(heavy, false); }
  /// The same for the stream of this name.
  void LoadConnectivityBlocks(LbtLbf::LbFile& file, const std::string& heavyDataBlockName);
  void LoadOtherBlocks(LbtLbf::LbFile& file, const std::string& heavyDataBlockName);

  std::vector<VarStruct> variables;
  /// Where data lies in the heavy data, by variable name: of two variables with one
  /// name, both have the position that came last. Reports and dumps go by it.
  std::map<std::string, unsigned long> heavyDataPositions;

 private:
  void Locate(const std::shared_ptr<ModelStream>& heavy, bool ofConnectivity);
};

/// Whether a report takes a variable of this name as a result.
[[nodiscard]] bool IsResult(const Geometry::VarStruct& variable, const VariableName& name);

}  // namespace LbtTev
