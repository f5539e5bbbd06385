// The tables of a catalogue of models, and what is written to them.

#include "tev/Catalogue.h"

#include <sys/statfs.h>

#include <algorithm>
#include <array>
#include <utility>

#include "tev/CataloguePaths.h"

namespace {

constexpr const char* kTables = R"(
CREATE TABLE catalogue(schema_version INTEGER NOT NULL, program_version TEXT NOT NULL);
CREATE TABLE models(
  id INTEGER PRIMARY KEY, path TEXT NOT NULL UNIQUE, bytes INTEGER, mtime_ns INTEGER,
  inode INTEGER, scanned_ns INTEGER NOT NULL, has_stats INTEGER NOT NULL,
  has_check INTEGER NOT NULL, has_hash INTEGER NOT NULL, gone INTEGER NOT NULL, version TEXT,
  title TEXT, category TEXT, application TEXT, application_version TEXT, modified TEXT,
  nodes REAL, elements REAL, part_count INTEGER, complete INTEGER NOT NULL, failure_code TEXT,
  failure_message TEXT, digest TEXT);
CREATE TABLE parts(
  model_id INTEGER NOT NULL, id INTEGER NOT NULL, name TEXT NOT NULL, path TEXT NOT NULL,
  kind TEXT NOT NULL, nodes INTEGER, elements INTEGER);
CREATE TABLE steps(
  model_id INTEGER NOT NULL, position INTEGER NOT NULL, text TEXT NOT NULL, label TEXT NOT NULL,
  value REAL);
CREATE TABLE results(
  model_id INTEGER NOT NULL, name TEXT NOT NULL, components INTEGER, location TEXT NOT NULL);
CREATE TABLE extremes(
  model_id INTEGER NOT NULL, part_id INTEGER NOT NULL, result TEXT NOT NULL,
  component INTEGER NOT NULL, min REAL, min_at INTEGER, min_step TEXT, max REAL, max_at INTEGER,
  max_step TEXT, not_finite INTEGER NOT NULL);
CREATE TABLE findings(
  model_id INTEGER NOT NULL, severity TEXT NOT NULL, kind TEXT NOT NULL, block INTEGER,
  node INTEGER, text TEXT NOT NULL);
CREATE VIRTUAL TABLE texts USING fts5(title, parts, results, columnsize = 0);
)";

/// To be made once the first rows are there: one by one, they would take as long as the rows.
constexpr const char* kIndexes = R"(
CREATE INDEX IF NOT EXISTS models_category ON models(category, path);
CREATE INDEX IF NOT EXISTS models_application ON models(application, modified);
CREATE INDEX IF NOT EXISTS models_failure ON models(failure_code, path)
  WHERE failure_code IS NOT NULL;
CREATE INDEX IF NOT EXISTS models_digest ON models(digest) WHERE digest IS NOT NULL;
CREATE INDEX IF NOT EXISTS models_bytes ON models(bytes);
CREATE INDEX IF NOT EXISTS models_gone ON models(id) WHERE gone = 1;
CREATE INDEX IF NOT EXISTS parts_model ON parts(model_id);
CREATE INDEX IF NOT EXISTS parts_name ON parts(name);
CREATE INDEX IF NOT EXISTS steps_model ON steps(model_id);
CREATE INDEX IF NOT EXISTS results_model ON results(model_id);
CREATE INDEX IF NOT EXISTS results_name ON results(name);
CREATE INDEX IF NOT EXISTS extremes_model ON extremes(model_id);
CREATE INDEX IF NOT EXISTS extremes_max ON extremes(result, max);
CREATE INDEX IF NOT EXISTS extremes_min ON extremes(result, min);
CREATE INDEX IF NOT EXISTS findings_model ON findings(model_id);
CREATE INDEX IF NOT EXISTS findings_kind ON findings(kind);
)";

// No "OR REPLACE": a statement that may be taken back by itself has all new words written out.
constexpr const char* kStore = R"(
INSERT INTO models(id, path, bytes, mtime_ns, inode, scanned_ns, has_stats, has_check, has_hash, gone,
  version, title, category, application, application_version, modified, nodes, elements, part_count,
  complete, failure_code, failure_message, digest)
VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, 0, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?))";

std::int64_t Whole(bool value) { return value ? 1 : 0; }

/// Throws a Failure where the tables are of another version, or missing.
void RequireVersion(const Database& database) {
  if (!database.Number("SELECT 1 FROM sqlite_master WHERE name = 'catalogue'")) {
    throw Failure(FailureCode::NotAModel, "no catalogue: it has other tables");
  }
  const std::int64_t version = database.Number("SELECT schema_version FROM catalogue").value_or(0);
  if (version != kCatalogueVersion) {
    throw Failure(FailureCode::UnsupportedVersion,
                  "a catalogue of version " + std::to_string(version) + ", and this program has " +
                      std::to_string(kCatalogueVersion));
  }
}

Database OpenToWrite(const std::string& path) {
  Database database(path, Database::Access::Write);
  if (database.Number("SELECT count(*) FROM sqlite_master").value_or(0) == 0) {
    Transaction transaction(database);
    database.Execute(kTables);
    database.Prepare("INSERT INTO catalogue VALUES (?, ?)")
        .Run(kCatalogueVersion, std::string_view(TEVINFO_VERSION));
    transaction.Commit();
  }
  RequireVersion(database);
  return database;
}

std::vector<Statement> ClearingStatements(const Database& database) {
  std::vector<Statement> statements;
  for (const std::string& table : TablesOfModels()) {
    statements.push_back(database.Prepare("DELETE FROM " + table + " WHERE model_id = ?"));
  }
  statements.push_back(database.Prepare("DELETE FROM texts WHERE rowid = ?"));
  statements.push_back(database.Prepare("DELETE FROM models WHERE id = ?"));
  return statements;
}

/// "table" is its name with its columns in brackets, of which there are so many.
Statement PrepareInsert(const Database& database, const std::string& table, int columns) {
  std::string sql = "INSERT INTO " + table + " VALUES (?";
  for (int i = 1; i < columns; ++i) {
    sql += ", ?";
  }
  return database.Prepare(sql + ')');
}

/// Whether write-ahead logging works there: its shared memory needs one machine.
bool IsOnLocalDisk(const std::string& path) {
  constexpr std::array<std::uint32_t, 10> kLocal{
      0xEF53,      // ext2 to ext4
      0x58465342,  // XFS
      0x9123683E,  // Btrfs
      0x2FC12FC1,  // ZFS
      0xF2F52010,  // F2FS
      0xCA451A4E,  // bcachefs
      0x3153464A,  // JFS
      0x01021994,  // tmpfs
      0x858458F6,  // ramfs
      0x794C7630,  // overlayfs
  };
  struct statfs status {};
  return statfs(path.c_str(), &status) == 0 &&
         std::ranges::find(kLocal, static_cast<std::uint32_t>(status.f_type)) != kLocal.end();
}

/// The names of all, each on a line of its own, as words to be found.
template <class Things>
std::string NamesIn(const Things& things) {
  std::string names;
  for (const auto& thing : things) {
    names += names.empty() ? "" : "\n";
    names += thing.name;
  }
  return names;
}

}  // namespace

const std::vector<std::string>& TablesOfModels() {
  static const std::vector<std::string> tables{"parts", "steps", "results", "extremes", "findings"};
  return tables;
}

Database OpenCatalogue(const std::string& path) {
  Database database(CataloguePath(path), Database::Access::Read);
  database.Execute("PRAGMA query_only = 1");
  RequireVersion(database);
  return database;
}

Catalogue::Catalogue(const std::string& path)
    : database_(OpenToWrite(path)),
      find_(database_.Prepare(
          "SELECT id, bytes, mtime_ns, inode, has_stats, has_check, has_hash, "
          "gone, path, failure_code = 'io-error' FROM models WHERE path >= ? ORDER BY path")),
      store_(database_.Prepare(kStore)),
      setGone_(database_.Prepare("UPDATE models SET gone = ?, scanned_ns = ? WHERE id = ?")),
      clear_(ClearingStatements(database_)),
      storePart_(
          PrepareInsert(database_, "parts(model_id, id, name, path, kind, nodes, elements)", 7)),
      storeStep_(PrepareInsert(database_, "steps(model_id, position, text, label, value)", 5)),
      storeResult_(PrepareInsert(database_, "results(model_id, name, components, location)", 4)),
      storeExtreme_(PrepareInsert(database_,
                                  "extremes(model_id, part_id, result, component, min, min_at, "
                                  "min_step, max, max_at, max_step, not_finite)",
                                  11)),
      storeFinding_(
          PrepareInsert(database_, "findings(model_id, severity, kind, block, node, text)", 6)),
      storeTexts_(database_.Prepare("INSERT INTO texts(rowid, title, parts, results) "
                                    "VALUES (?, ?, ?, ?)")) {
  if (database_.Number("SELECT 1 FROM models LIMIT 1")) {
    MakeIndexes();
  }
}

std::optional<KnownFile> Catalogue::Find(std::string_view path) {
  constexpr int kPath = 8;
  if (!isAtRow_ || find_.TextView(kPath) != path) {
    find_.Reset();
    find_.Bind(RawText{path});
    isAtRow_ = find_.Step();
  }
  if (!isAtRow_ || find_.TextView(kPath) != path) {
    return std::nullopt;
  }
  KnownFile known{.id = find_.Integer(0),
                  .has = {find_.Integer(4) != 0, find_.Integer(5) != 0, find_.Integer(6) != 0},
                  .isGone = find_.Integer(7) != 0};
  if (!find_.IsNull(1)) {
    known.stamp = FileStamp{find_.Integer(1), find_.Integer(2), find_.Integer(3)};
    constexpr int kIsIoError = 9;
    known.isGivenUp = find_.Integer(kIsIoError) != 0;
  }
  isAtRow_ = find_.Step();
  return known;
}

void Catalogue::EndFinding() {
  find_.Reset();
  isAtRow_ = false;
}

std::int64_t Catalogue::Store(const CataloguedModel& model, std::optional<std::int64_t> known) {
  if (known) {
    for (Statement& statement : clear_) {
      statement.Run(*known);
    }
  }
  store_.Reset();
  store_.Bind(known);
  store_.Bind(RawText{model.path});
  store_.Bind(model.stamp ? std::optional(model.stamp->bytes) : std::nullopt);
  store_.Bind(model.stamp ? std::optional(model.stamp->mtimeNs) : std::nullopt);
  store_.Bind(model.stamp ? std::optional(model.stamp->inode) : std::nullopt);
  store_.Bind(model.scannedNs);
  store_.Bind(Whole(model.has.stats)).Bind(Whole(model.has.check)).Bind(Whole(model.has.hash));
  store_.Bind(model.version).Bind(model.title).Bind(model.category);
  store_.Bind(model.application).Bind(model.applicationVersion).Bind(model.modified);
  store_.Bind(model.nodes).Bind(model.elements).Bind(model.partCount);
  store_.Bind(Whole(model.isComplete));
  if (model.failure) {
    store_.Bind(NameOf(model.failure->Code())).Bind(std::string_view(model.failure->what()));
  } else {
    store_.Bind(nullptr).Bind(nullptr);
  }
  store_.Bind(model.digest);
  static_cast<void>(store_.Step());
  store_.Reset();
  const std::int64_t id = known ? *known : database_.LastId();
  StoreRowsOf(id, model);
  return id;
}

void Catalogue::StoreRowsOf(std::int64_t id, const CataloguedModel& model) {
  for (const auto& part : model.parts) {
    storePart_.Run(id, part.id, std::string_view(part.name), std::string_view(part.path), part.kind,
                   part.nodes, part.elements);
  }
  std::int64_t position = 0;
  for (const auto& step : model.steps) {
    storeStep_.Run(id, position++, std::string_view(step.text), std::string_view(step.label),
                   step.value);
  }
  for (const auto& result : model.results) {
    storeResult_.Run(id, std::string_view(result.name), result.components, result.location);
  }
  for (const auto& extreme : model.extremes) {
    storeExtreme_.Run(id, extreme.part, std::string_view(extreme.result), extreme.component,
                      extreme.min, extreme.minAt, extreme.minStep, extreme.max, extreme.maxAt,
                      extreme.maxStep, extreme.notFinite);
  }
  for (const auto& finding : model.findings) {
    storeFinding_.Run(id, finding.severity, finding.kind, finding.block, finding.node,
                      std::string_view(finding.text));
  }
  if (model.title || !model.parts.empty() || !model.results.empty()) {
    storeTexts_.Run(id, std::string_view(model.title ? *model.title : std::string()),
                    std::string_view(NamesIn(model.parts)),
                    std::string_view(NamesIn(model.results)));
  }
}

void Catalogue::MakeIndexes() { database_.Execute(kIndexes); }

void Catalogue::WriteAhead(const std::string& path) {
  if (IsOnLocalDisk(path)) {
    database_.Try("PRAGMA journal_mode = WAL");  // not while somebody reads it
    database_.Execute("PRAGMA synchronous = NORMAL");
  }
}

void Catalogue::EndWriteAhead() { database_.Try("PRAGMA journal_mode = DELETE"); }

void Catalogue::SetGone(std::int64_t id, bool isGone, std::int64_t nowNs) {
  setGone_.Run(Whole(isGone), nowNs, id);
}
