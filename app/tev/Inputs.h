#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Lbf/StoredFile.h"
#include "Lbt/Util/FileAccess.h"
#include "tev/FileFailure.h"
#include "tev/TemporaryFile.h"

/// One file that a run answers on.
struct Input {
  std::string path;    ///< as it was named, or as the walk of a folder came to it
  std::string source;  ///< the path to open: for a pipe, that of its copy; never too long for it
  std::optional<Failure> failure;  ///< why it cannot be read; no model of it needs to be opened
  /// Where there is no failure, it is open already, for TakeFile.
  std::shared_ptr<LbtLbf::StoredFile> file{};
};

/// Gives the open file of an input away, with what was read of it. One that is not open for who
/// comes later: "source" is to be opened then.
[[nodiscard]] LbtLbf::StoredFile TakeFile(const Input& input);

/// The number of the descriptor that a path stands for: "-" and "/dev/stdin" are standard input,
/// "/dev/fd/7" is 7.
[[nodiscard]] std::optional<int> DescriptorOf(const std::string& path);

/// A path by which this process can open what a descriptor of its own is open on.
[[nodiscard]] std::string PathOfDescriptor(int descriptor);

/// The identity of what a path stands for, a descriptor or a file; none where there is neither.
[[nodiscard]] std::optional<Lbt::Util::FileIdentity> IdentityOfNamed(const std::string& path);

/// Whether the file at "path" begins with a model's signature. Throws a Failure where it cannot be
/// opened or read.
[[nodiscard]] bool BeginsAsModel(const std::string& path);

/// The files that a command line names, one after another.
///
/// A named path is always one of them, if only with its failure. A folder is walked, in the byte
/// order of its names: its regular files that begin with a model's signature, and those that
/// cannot be opened; links to files are followed, links to folders are not. A pipe on a descriptor
/// is copied to an unnamed temporary file, which stays: it may be named again. No more is kept in
/// memory than the names in the folders that are being walked, whose paths may be of any length. A
/// named folder in which nothing is found is told on standard error.
class Inputs {
 public:
  enum class Folders : std::uint8_t { Walked, Refused };

  /// "names" is a file of further paths, each ended by NUL; "-" is standard input, "" is none. What
  /// it is read from is no model: in the list, that is a failure in its place. Throws an
  /// OptionError where it is among "paths", and a Failure where it cannot be opened.
  Inputs(std::vector<std::string> paths, const std::string& names,
         Folders folders = Folders::Walked);
  ~Inputs();
  Inputs(const Inputs&) = delete;
  Inputs& operator=(const Inputs&) = delete;

  using IsLeftOut = std::function<bool(const std::string& path)>;
  using IsPassedOver = std::function<bool(const std::string& path, const struct stat& status)>;

  /// From now on, regular files for which "isPassedOver" is true are neither opened nor handed out;
  /// of what a folder calls a regular file, "isLeftOut" is asked before that, without any call of
  /// the system. Whoever has them asked counts these files as found. What they throw ends Next.
  void PassOver(IsLeftOut isLeftOut, IsPassedOver isPassedOver) {
    isLeftOut_ = std::move(isLeftOut);
    isPassedOver_ = std::move(isPassedOver);
  }

  /// The folders among the named paths that could be listed so far.
  [[nodiscard]] const std::vector<std::string>& NamedFolders() const { return namedFolders_; }

  /// The next file; none after the last. Valid until the next call. Throws a Failure where the
  /// file of names cannot be read to its end.
  [[nodiscard]] const Input* Next();

  /// How many there are in all, as long as that is known.
  [[nodiscard]] std::optional<std::size_t> Count() const;

  /// Whether there can be more than one.
  [[nodiscard]] bool CanBeMany() const;

 private:
  struct Folder;

  void OpenNames();
  [[nodiscard]] bool IsListOfNames(const std::string& path) const;
  [[nodiscard]] std::optional<std::string> NextName();
  [[nodiscard]] bool TakeNamed(const std::string& path);
  [[nodiscard]] bool TakeModel(LbtLbf::StoredFile file);
  [[nodiscard]] bool TakeFound(const Folder& folder, const std::string& name, bool isFile);
  [[nodiscard]] bool PassesOver(const std::string& path, const struct stat& status);
  [[nodiscard]] bool Fail(const Failure& failure);
  [[nodiscard]] std::string CopyOf(int descriptor, const struct stat& status);
  [[nodiscard]] bool TakeDescriptor(int descriptor);
  [[nodiscard]] bool EnterFolder(const std::string& path, const std::string& source);
  void LeaveFolder();

  std::vector<std::string> paths_;
  std::size_t nextPath_ = 0;
  std::string namesPath_;
  std::ifstream namesFile_;
  TemporaryFile namesCopy_;  ///< of a descriptor that cannot be opened again
  std::optional<Lbt::Util::FileIdentity> namesIdentity_;  ///< where they come from a descriptor
  std::string walked_;                                    ///< the folder that is being walked
  std::vector<Folder> folders_;  ///< those that are being walked, each in the one before
  bool isAnyFound_ = false;      ///< in the first of them
  Folders folderUse_;
  bool isCountKnown_;
  IsLeftOut isLeftOut_;
  IsPassedOver isPassedOver_;
  std::vector<std::string> namedFolders_;
  Input input_;
  std::map<std::pair<dev_t, ino_t>, std::unique_ptr<TemporaryFile>> copies_;  ///< of pipes
};
