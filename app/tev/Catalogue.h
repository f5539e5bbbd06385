#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tev/Database.h"
#include "tev/FileFailure.h"

/// By what a file is known again that has not changed.
struct FileStamp {
  std::int64_t bytes = 0;
  std::int64_t mtimeNs = 0;
  std::int64_t inode = 0;

  bool operator==(const FileStamp&) const = default;
};

/// What a scan asks for beside the facts that light data give.
struct ScanDepth {
  bool stats = false;
  bool check = false;
  bool hash = false;
};

/// A file and what is known of it: a row of "models" with the rows of other tables on it.
struct CataloguedModel {
  struct Part {
    std::int64_t id = 0;
    std::string name;
    std::string path;  ///< a JSON list of the group names from the root down
    std::string_view kind;
    std::optional<std::int64_t> nodes{};
    std::optional<std::int64_t> elements{};
  };
  struct Step {
    std::string text;
    std::string label;
    std::optional<double> value{};
  };
  struct Result {
    std::string name;
    std::optional<std::int64_t> components{};
    std::string_view location;
  };
  /// The extremes of a component of a result of one part over all steps.
  struct Extreme {
    std::int64_t part = 0;
    std::string result;
    std::int64_t component = 0;  ///< from 0 on; -1 is the magnitude
    std::optional<double> min{};
    std::optional<std::int64_t> minAt{};  ///< the id of its node or element
    std::optional<std::string> minStep{};
    std::optional<double> max{};
    std::optional<std::int64_t> maxAt{};
    std::optional<std::string> maxStep{};
    std::int64_t notFinite = 0;
  };
  struct Finding {
    std::string_view severity;
    std::string_view kind;
    std::optional<std::int64_t> block{};
    std::optional<std::int64_t> node{};
    std::string text;
  };

  std::string path;  ///< absolute
  std::optional<FileStamp> stamp{};
  std::int64_t scannedNs = 0;
  ScanDepth has{};
  std::optional<std::string> version{};
  std::optional<std::string> title{};
  std::optional<std::string> category{};
  std::optional<std::string> application{};
  std::optional<std::string> applicationVersion{};
  std::optional<std::string> modified{};
  std::optional<double> nodes{};
  std::optional<double> elements{};
  std::optional<std::int64_t> partCount{};
  bool isComplete = false;
  std::optional<Failure> failure{};
  std::optional<std::string> digest{};
  bool mayPass = false;  ///< something failed that tells nothing of the file

  std::vector<Part> parts{};
  std::vector<Step> steps{};
  std::vector<Result> results{};
  std::vector<Extreme> extremes{};
  std::vector<Finding> findings{};
};

/// What a catalogue knows of a path.
struct KnownFile {
  std::int64_t id = 0;
  std::optional<FileStamp> stamp{};
  ScanDepth has{};
  bool isGone = false;
  bool isGivenUp = false;  ///< it has ended a scan: there is nothing to ask of it until it changes
};

/// The number of the tables' version, and what they are.
inline constexpr std::int64_t kCatalogueVersion = 1;

/// Opens a catalogue for those who ask. Throws a Failure for what is none, or one of another
/// version.
[[nodiscard]] Database OpenCatalogue(const std::string& path);

/// A catalogue that is written to.
class Catalogue {
 public:
  /// Makes it where it is missing. Throws as OpenCatalogue does.
  explicit Catalogue(const std::string& path);

  [[nodiscard]] const Database& GetDatabase() const { return database_; }

  /// Fastest where the paths of one call after another are neighbours.
  [[nodiscard]] std::optional<KnownFile> Find(std::string_view path);

  /// To be called before a transaction ends: Find keeps its place.
  void EndFinding();

  /// Takes the place of what is known of its path, which has the id "known". Returns its id.
  std::int64_t Store(const CataloguedModel& model, std::optional<std::int64_t> known);

  /// Marks a file that has vanished, or that has come back as it was.
  void SetGone(std::int64_t id, bool isGone, std::int64_t nowNs);

  /// Makes what a new catalogue lacks until it is filled: one row after another, the indexes would
  /// take longer than the rows.
  void MakeIndexes();

  /// Writes to a log beside it, so that others can read meanwhile, where "path", which it was made
  /// with, is on a disk of this machine: only there that works.
  void WriteAhead(const std::string& path);

  /// The opposite: a log would need a folder that can be written to, just to read what is in the
  /// catalogue. While somebody reads it, it stays as it is.
  void EndWriteAhead();

 private:
  void StoreRowsOf(std::int64_t id, const CataloguedModel& model);

  Database database_;
  Statement find_;
  bool isAtRow_ = false;  ///< of "find_"
  Statement store_;
  Statement setGone_;
  std::vector<Statement> clear_;
  Statement storePart_;
  Statement storeStep_;
  Statement storeResult_;
  Statement storeExtreme_;
  Statement storeFinding_;
  Statement storeTexts_;
};

/// The tables whose rows belong to a model.
[[nodiscard]] const std::vector<std::string>& TablesOfModels();
