#pragma once

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "run/TevRun.h"
#include "support/SmallModel.h"

namespace tevtest {

/// Watches by which names files are opened in a folder.
class OpenedNames {
 public:
  explicit OpenedNames(const std::string& folder)
      : watch_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    EXPECT_GE(inotify_add_watch(watch_, folder.c_str(), IN_OPEN), 0);
  }
  ~OpenedNames() { close(watch_); }
  OpenedNames(const OpenedNames&) = delete;
  OpenedNames& operator=(const OpenedNames&) = delete;

  /// Those since the last call.
  [[nodiscard]] std::set<std::string> Get() const {
    std::set<std::string> names;
    std::array<char, 65536> events{};
    ssize_t size = 0;
    while ((size = read(watch_, events.data(), events.size())) > 0) {
      for (const char* at = events.data(); at < events.data() + size;) {
        inotify_event event{};
        std::memcpy(&event, at, sizeof event);
        if (event.len != 0 && (event.mask & IN_ISDIR) == 0) {
          names.insert(at + sizeof event);
        }
        at += sizeof event + event.len;
      }
    }
    return names;
  }

 private:
  int watch_;
};

/// Scans archives, and holds their catalogues to what the other verbs tell.
class CatalogueRun : public TevRun {
 protected:
  /// Models of all sorts in a folder "archive": sound, damaged, cut, and what is none.
  void WriteArchive() const {
    namespace fs = std::filesystem;
    const fs::path archive = fs::path(dir.Path()) / "archive";
    fs::create_directories(archive / "deep");
    fs::copy_file(Example("bracket.tev"), archive / "bracket.tev");
    fs::copy_file(Example("heatsink.tev"), archive / "deep" / "heatsink.tev");
    const std::string small = SmallModel().Build();
    dir.Write("archive/small.tev", small);
    dir.Write("archive/deep/copy.tev", small);
    dir.Write("archive/cut.tev", small.substr(0, small.size() - 1));
    for (std::size_t place = 20; place < small.size(); place += small.size() / 20) {
      std::string flipped = small;
      flipped[place] = static_cast<char>(~flipped[place]);
      dir.Write("archive/deep/flipped" + std::to_string(place) + ".tev", flipped);
    }
    dir.Write("archive/notes.txt", "no model");
  }

  [[nodiscard]] RunResult Scan(const std::string& catalogue, std::vector<std::string> more = {},
                               RunOptions options = {}) const {
    std::vector<std::string> arguments{"scan", "archive", "--catalogue", catalogue};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments, std::move(options));
  }

  /// What "check_catalogue.py" says against it.
  [[nodiscard]] std::string Faults(const std::string& catalogue,
                                   const std::vector<std::string>& depth) const {
    std::vector<std::string> command{
        "python3", std::string(TEVINFO_SOURCE_DIR) + "/tests/run/check_catalogue.py", TEV_PROGRAM,
        dir / catalogue, dir / "archive"};
    command.insert(command.end(), depth.begin(), depth.end());
    const RunResult run = RunProgram(command);
    return run.status == 0 ? "" : run.output + run.error;
  }

  [[nodiscard]] std::string Query(const std::string& catalogue, const std::string& sql) const {
    return Answer({"query", catalogue, sql, "--csv"});
  }

  /// Files by name with a column of theirs, a line each.
  [[nodiscard]] std::string Files(const std::string& catalogue, const std::string& column,
                                  const std::string& condition = "1") const {
    return Query(catalogue,
                 "SELECT replace(path, rtrim(path, replace(path, '/', '')), '') AS name, " +
                     column + " FROM models WHERE " + condition + " ORDER BY name");
  }
};

}  // namespace tevtest
