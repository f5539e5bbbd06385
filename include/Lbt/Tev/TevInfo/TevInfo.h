#pragma once

#include <cstddef>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "Lbt/Tev/TevInfo/TevDataset.h"
#include "Lbt/Util/NumberText.h"

/// The XML namespaces of the metadata document.
inline constexpr const char* kNativeNamespaceUri = "urn:lbt:tev:metadata";
inline constexpr const char* kEkmNamespaceUri = "urn:ansys:ekm:meta-data";

/// The record in which a run gathers its report. Make one, set its format, add
/// entries, ask for the document. Texts go into the document as they are: nothing is
/// escaped, and readers of the document rely on that.
class TevInfo {
 public:
  /// What a run writes. The values are fixed.
  enum class Format : int {
    NativeMetaData = 0,  ///< metadata document in the system's own namespace
    ExtractData = 1,     ///< dump of mesh and result data
    EkmMetaData = 2,     ///< metadata document for ANSYS EKM
  };
  static constexpr Format NativeMetaData = Format::NativeMetaData;
  static constexpr Format ExtractData = Format::ExtractData;
  static constexpr Format EkmMetaData = Format::EkmMetaData;

  /// The words of the document that depend on the format.
  enum class TagType : int {
    NamespacePrefix = 0,
    NamespaceUri = 1,
    RootElement = 2,
    EntryElement = 3,
    NameAttribute = 4,
    ValueAttribute = 5,
  };
  static constexpr TagType NamespacePrefix = TagType::NamespacePrefix;
  static constexpr TagType NamespaceUri = TagType::NamespaceUri;
  static constexpr TagType RootElement = TagType::RootElement;
  static constexpr TagType EntryElement = TagType::EntryElement;
  static constexpr TagType NameAttribute = TagType::NameAttribute;
  static constexpr TagType ValueAttribute = TagType::ValueAttribute;

  /// Stores the format and sets its tags. A value that is no format is stored, too, but
  /// leaves the tags as they are.
  void setFormat(Format f);

  /// The opening line of the document. Throws "Not Initialized" without tags.
  [[nodiscard]] std::string header() const;

  /// The document with all entries added so far. Throws as above.
  [[nodiscard]] std::string getMetadataString() const;

  /// Appends one entry line, with "key" and "value" (a text, an int or an unsigned int)
  /// as they are. Throws as above.
  template <class T>
  void addMetadata(const std::string& key, const T& value) {
    if constexpr (std::is_convertible_v<const T&, std::string_view>) {
      addEntry(key, value);
    } else {
      addEntry(key, Lbt::Util::ToString(value));
    }
  }

  /// A column of a value table: one component of a data set.
  struct DimenInfo {
    std::size_t dataset;     ///< its position in "datasets"
    std::size_t components;  ///< how many it has
    std::size_t component;   ///< which one this is
  };

  /// Writes the dump of all data sets, group by group in byte order of their names.
  /// A row ends at the first value that its data set does not have, and the rest of
  /// that block's rows is left out with it.
  void printData(std::ostream& os) const;

  /// Writes one group: the data sets at the positions "indices".
  void printAnalysis(std::ostream& os, const std::string& group,
                     const std::vector<std::size_t>& indices) const;

  /// Writes the node and element blocks of one group.
  void printMesh(std::ostream& os, const std::vector<std::size_t>& indices) const;

  /// Writes the value tables of one group, one for each entry of "byInstance".
  void printResults(std::ostream& os,
                    const std::map<std::string, std::vector<std::size_t>>& byResult,
                    const std::map<std::string, std::vector<std::size_t>>& byInstance,
                    std::size_t nodeCount) const;

  Format format = NativeMetaData;
  std::map<TagType, std::string> tags;
  std::string metadata;  ///< the entry lines
  std::vector<TevDataset> datasets;

 private:
  [[nodiscard]] const std::string& tag(TagType type) const;
  void addEntry(std::string_view key, std::string_view value);
};

/// "key" in the form that ANSYS EKM takes: the first character in lower case, white
/// space after it dropped. Only ASCII letters and white space count.
[[nodiscard]] std::string getEkmCompatibleKey(const std::string& key);

/// Adds an entry, with the key in the form that the record's format wants.
template <class T>
void AddStreamMetaData(TevInfo& info, const std::string& key, const T& value) {
  const bool isForEkm = info.format == TevInfo::EkmMetaData;
  info.addMetadata(isForEkm ? getEkmCompatibleKey(key) : key, value);
}
