// A scratch folder that goes with its object.

#include "TempDir.h"

#include <stdlib.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace tevtest {
namespace fs = std::filesystem;
namespace {

fs::path BaseDirectory() {
  const char* chosen = std::getenv("TEST_TMPDIR");
  return chosen != nullptr && *chosen != '\0' ? fs::path(chosen) : fs::temp_directory_path();
}

}  // namespace

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::string bytes;
  // In pieces: a character at a time takes seconds for the programs that tests name.
  std::array<char, 65536> piece{};
  do {
    in.read(piece.data(), piece.size());
    bytes.append(piece.data(), static_cast<std::size_t>(in.gcount()));
  } while (in);
  if (!in.is_open() || in.bad())
    throw std::runtime_error("cannot read " + path.string());
  return bytes;
}

void WriteFile(const fs::path& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  if (!out)
    throw std::runtime_error("cannot write " + path.string());
}

TempDir::TempDir() {
  std::string name = (BaseDirectory() / "tevtest-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), "mkdtemp " + name);
  }
  path_ = name;
}

TempDir::~TempDir() {
  // A test may have closed the directory to itself.
  std::error_code ignored;
  fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ignored);
  fs::remove_all(path_, ignored);
}

std::string TempDir::operator/(std::string_view name) const { return (path_ / name).string(); }

std::string TempDir::Write(std::string_view name, std::string_view bytes) const {
  WriteFile(path_ / name, bytes);
  return *this / name;
}

std::string TempDir::Read(std::string_view name) const { return ReadFile(path_ / name); }

bool TempDir::Has(std::string_view name) const {
  return fs::exists(fs::symlink_status(path_ / name));
}

std::size_t TempDir::EntryCount() const {
  const auto count = std::distance(fs::directory_iterator(path_), fs::directory_iterator());
  return static_cast<std::size_t>(count);
}

std::string TempDir::MakeDirectory(std::string_view name) const {
  fs::create_directories(path_ / name);
  return *this / name;
}

void TempDir::OpenToAll(bool writable) const {
  constexpr auto kEnter = fs::perms::group_read | fs::perms::group_exec | fs::perms::others_read |
                          fs::perms::others_exec;
  constexpr auto kWrite = fs::perms::group_write | fs::perms::others_write;
  fs::permissions(path_, fs::perms::owner_all | kEnter | (writable ? kWrite : fs::perms::none));
}

}  // namespace tevtest
