// Writes files of HDF5 by its library, which is loaded at the first use: it brings 36 further
// libraries along, and loading them takes longer than most verbs of the program that links this.

#include "Hdf5File.h"

#include "Lbt/Tev/Exchange/Hdf5Formats.h"
#include "Lbt/Tev/Exchange/ReplacedFile.h"

#ifdef TEVINFO_HDF5_LIBRARY

#include <dlfcn.h>
#include <hdf5.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "Lbt/Util/Utf8.h"

namespace LbtTev::Exchange {

namespace {

/// The functions and types of HDF5 that are used here, by the names that it has for them.
class Hdf5 {
 public:
  static const Hdf5& Get() {
    static const Hdf5 library;
    return library;
  }

  std::string fault;

  decltype(&H5open) open{};
  decltype(&H5dont_atexit) dontAtExit{};
  decltype(&H5Eset_auto2) setErrors{};
  decltype(&H5Fcreate) createFile{};
  decltype(&H5Fclose) closeFile{};
  decltype(&H5Gcreate2) createGroup{};
  decltype(&H5Gclose) closeGroup{};
  decltype(&H5Oopen) openObject{};
  decltype(&H5Oclose) closeObject{};
  decltype(&H5Screate_simple) createSpace{};
  decltype(&H5Screate) createScalar{};
  decltype(&H5Sselect_hyperslab) select{};
  decltype(&H5Sget_simple_extent_dims) dimensions{};
  decltype(&H5Sclose) closeSpace{};
  decltype(&H5Pcreate) createProperties{};
  decltype(&H5Pset_chunk) setChunk{};
  decltype(&H5Pset_shuffle) setShuffle{};
  decltype(&H5Pset_deflate) setDeflate{};
  decltype(&H5Pset_libver_bounds) setVersions{};
  decltype(&H5Pclose) closeProperties{};
  decltype(&H5Dcreate2) createDataset{};
  decltype(&H5Dopen2) openDataset{};
  decltype(&H5Dwrite) write{};
  decltype(&H5Dget_space) spaceOf{};
  decltype(&H5Dget_type) typeOf{};
  decltype(&H5Dclose) closeDataset{};
  decltype(&H5Acreate2) createAttribute{};
  decltype(&H5Awrite) writeAttribute{};
  decltype(&H5Aclose) closeAttribute{};
  decltype(&H5Tcopy) copyType{};
  decltype(&H5Tset_size) setSize{};
  decltype(&H5Tget_size) sizeOf{};
  decltype(&H5Tset_cset) setCharacters{};
  decltype(&H5Tset_strpad) setPadding{};
  decltype(&H5Tclose) closeType{};
  std::array<hid_t, 5> numbers{};  // by NumberType
  hid_t text = -1;
  hid_t ofDatasets = -1;
  hid_t ofAccess = -1;

 private:
  Hdf5() : handle_(dlopen(TEVINFO_HDF5_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) {
      // NOLINTNEXTLINE(concurrency-mt-unsafe): files are written by one thread
      fault = std::string("HDF5 cannot be loaded: ") + dlerror();
      return;
    }
    FindFunctions();
    if (!fault.empty()) {
      return;
    }
    // It would write its errors to standard error, and clean up after files that failed.
    dontAtExit();
    if (open() < 0 || setErrors(H5E_DEFAULT, nullptr, nullptr) < 0) {
      fault = "HDF5 cannot be used";
      return;
    }
    FindTypes();
  }

  void FindFunctions() {
    Find("H5open", open);
    Find("H5dont_atexit", dontAtExit);
    Find("H5Eset_auto2", setErrors);
    Find("H5Fcreate", createFile);
    Find("H5Fclose", closeFile);
    Find("H5Gcreate2", createGroup);
    Find("H5Gclose", closeGroup);
    Find("H5Oopen", openObject);
    Find("H5Oclose", closeObject);
    Find("H5Screate_simple", createSpace);
    Find("H5Screate", createScalar);
    Find("H5Sselect_hyperslab", select);
    Find("H5Sget_simple_extent_dims", dimensions);
    Find("H5Sclose", closeSpace);
    Find("H5Pcreate", createProperties);
    Find("H5Pset_chunk", setChunk);
    Find("H5Pset_shuffle", setShuffle);
    Find("H5Pset_deflate", setDeflate);
    Find("H5Pset_libver_bounds", setVersions);
    Find("H5Pclose", closeProperties);
    Find("H5Dcreate2", createDataset);
    Find("H5Dopen2", openDataset);
    Find("H5Dwrite", write);
    Find("H5Dget_space", spaceOf);
    Find("H5Dget_type", typeOf);
    Find("H5Dclose", closeDataset);
    Find("H5Acreate2", createAttribute);
    Find("H5Awrite", writeAttribute);
    Find("H5Aclose", closeAttribute);
    Find("H5Tcopy", copyType);
    Find("H5Tset_size", setSize);
    Find("H5Tget_size", sizeOf);
    Find("H5Tset_cset", setCharacters);
    Find("H5Tset_strpad", setPadding);
    Find("H5Tclose", closeType);
  }

  void FindTypes() {
    constexpr std::array<const char*, 5> kNames{"H5T_IEEE_F32LE_g", "H5T_STD_I32LE_g",
                                                "H5T_STD_I64LE_g", "H5T_STD_U8LE_g",
                                                "H5T_STD_U32LE_g"};
    for (std::size_t i = 0; i < kNames.size(); ++i) {
      numbers.at(i) = Value(kNames.at(i));
    }
    text = Value("H5T_C_S1_g");
    ofDatasets = Value("H5P_CLS_DATASET_CREATE_ID_g");
    ofAccess = Value("H5P_CLS_FILE_ACCESS_ID_g");
  }

  template <class Function>
  void Find(const char* name, Function& function) {
    void* found = dlsym(handle_, name);
    if (found == nullptr) {
      fault = std::string("HDF5 has no ") + name;
    }
    // What dlsym is for.
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast)
    function = reinterpret_cast<Function>(found);
  }

  hid_t Value(const char* name) {
    const void* found = dlsym(handle_, name);
    if (found == nullptr) {
      fault = std::string("HDF5 has no ") + name;
      return -1;
    }
    return *static_cast<const hid_t*>(found);
  }

  void* handle_;
};

/// A handle of HDF5 with its own way to be closed. A negative one tells of a failure.
class Handle {
 public:
  Handle(hid_t id, herr_t (*close)(hid_t)) : id_(id), close_(close) {
    if (id < 0) {
      RaiseWriteError("cannot write");
    }
  }
  ~Handle() {
    if (id_ >= 0) {
      close_(id_);
    }
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  operator hid_t() const { return id_; }  // NOLINT(google-explicit-constructor)

  /// What is kept back is written then.
  void Close() {
    if (close_(std::exchange(id_, -1)) < 0) {
      RaiseWriteError("cannot write");
    }
  }

 private:
  hid_t id_;
  herr_t (*close_)(hid_t);
};

void Require(herr_t result) {
  if (result < 0) {
    RaiseWriteError("cannot write");
  }
}

constexpr unsigned int kEmptied = 2;  // H5F_ACC_TRUNC, a macro that calls the library
constexpr hsize_t kChunkBytes = hsize_t{256} * 1024;

/// Sets an attribute of one dimension, or a scalar for none.
void SetAttribute(hid_t file, const std::string& object, const char* name, hid_t type,
                  const hsize_t* size, const void* values) {
  const Hdf5& hdf5 = Hdf5::Get();
  const Handle owner(hdf5.openObject(file, object.c_str(), H5P_DEFAULT), hdf5.closeObject);
  const Handle space(
      size == nullptr ? hdf5.createScalar(H5S_SCALAR) : hdf5.createSpace(1, size, nullptr),
      hdf5.closeSpace);
  Handle attribute(hdf5.createAttribute(owner, name, type, space, H5P_DEFAULT, H5P_DEFAULT),
                   hdf5.closeAttribute);
  Require(hdf5.writeAttribute(attribute, type, values));
  attribute.Close();
}

}  // namespace

std::string Hdf5Fault() { return Hdf5::Get().fault; }

Hdf5File::Hdf5File(const std::string& path) {
  const Hdf5& hdf5 = Hdf5::Get();
  errno = 0;
  // Formats since version 1.8 have room for long lists of names in attributes.
  const Handle access(hdf5.createProperties(hdf5.ofAccess), hdf5.closeProperties);
  Require(hdf5.setVersions(access, H5F_LIBVER_V18, H5F_LIBVER_V18));
  file_ = hdf5.createFile(path.c_str(), kEmptied, H5P_DEFAULT, access);
  Require(file_ < 0 ? -1 : 0);
}

Hdf5File::~Hdf5File() {
  if (file_ >= 0) {
    Hdf5::Get().closeFile(file_);
  }
}

// NOLINTBEGIN(readability-make-member-function-const): the file is what they change
void Hdf5File::MakeGroup(const std::string& name) {
  const Hdf5& hdf5 = Hdf5::Get();
  const Handle group(hdf5.createGroup(file_, name.c_str(), H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT),
                     hdf5.closeGroup);
}

void Hdf5File::MakeDataset(const std::string& name, NumberType type, std::uint64_t tuples,
                           std::size_t width) {
  const Hdf5& hdf5 = Hdf5::Get();
  const int rank = width == 0 ? 1 : 2;
  const std::array<hsize_t, 2> size{tuples, width};
  const Handle space(hdf5.createSpace(rank, size.data(), nullptr), hdf5.closeSpace);
  const Handle layout(hdf5.createProperties(hdf5.ofDatasets), hdf5.closeProperties);
  if (tuples != 0) {
    const hsize_t bytes = std::max<std::size_t>(width, 1) * BytesOf(type);
    const std::array<hsize_t, 2> chunk{
        std::min<hsize_t>(tuples, std::max<hsize_t>(1, kChunkBytes / bytes)), width};
    Require(hdf5.setChunk(layout, rank, chunk.data()));
    Require(hdf5.setShuffle(layout));
    Require(hdf5.setDeflate(layout, 1));
  }
  Handle dataset(
      hdf5.createDataset(file_, name.c_str(), hdf5.numbers.at(static_cast<std::size_t>(type)),
                         space, H5P_DEFAULT, layout, H5P_DEFAULT),
      hdf5.closeDataset);
  dataset.Close();
}

void Hdf5File::Write(const std::string& name, std::uint64_t first,
                     std::span<const std::byte> tuples) {
  RequireNoSignal();
  const Hdf5& hdf5 = Hdf5::Get();
  errno = 0;
  Handle dataset(hdf5.openDataset(file_, name.c_str(), H5P_DEFAULT), hdf5.closeDataset);
  const Handle space(hdf5.spaceOf(dataset), hdf5.closeSpace);
  const Handle type(hdf5.typeOf(dataset), hdf5.closeType);
  std::array<hsize_t, 2> size{0, 1};
  const int rank = hdf5.dimensions(space, size.data(), nullptr);
  Require(rank);
  const auto width = rank == 1 ? hsize_t{1} : size[1];
  const std::array<hsize_t, 2> start{first, 0};
  const std::array<hsize_t, 2> count{tuples.size() / (width * hdf5.sizeOf(type)), size[1]};
  const Handle memory(hdf5.createSpace(rank, count.data(), nullptr), hdf5.closeSpace);
  Require(hdf5.select(space, H5S_SELECT_SET, start.data(), nullptr, count.data(), nullptr));
  Require(hdf5.write(dataset, type, memory, space, H5P_DEFAULT, tuples.data()));
  dataset.Close();
}

void Hdf5File::SetText(const std::string& object, const char* name, const std::string& text) {
  const Hdf5& hdf5 = Hdf5::Get();
  const Handle type(hdf5.copyType(hdf5.text), hdf5.closeType);
  Require(hdf5.setSize(type, std::max<std::size_t>(text.size(), 1)));
  Require(hdf5.setPadding(type, H5T_STR_NULLPAD));
  SetAttribute(file_, object, name, type, nullptr, text.c_str());
}

void Hdf5File::SetTexts(const std::string& object, const char* name,
                        const std::vector<std::string>& texts) {
  const Hdf5& hdf5 = Hdf5::Get();
  const Handle type(hdf5.copyType(hdf5.text), hdf5.closeType);
  Require(hdf5.setSize(type, H5T_VARIABLE));
  Require(hdf5.setCharacters(type, H5T_CSET_UTF8));
  std::vector<std::string> valid(texts.size());
  std::ranges::transform(texts, valid.begin(), Lbt::Util::ValidUtf8);
  std::vector<const char*> values(texts.size());
  std::ranges::transform(valid, values.begin(), &std::string::c_str);
  const hsize_t size = values.size();
  SetAttribute(file_, object, name, type, &size, values.data());
}

void Hdf5File::SetNumbers(const std::string& object, const char* name,
                          const std::vector<std::int64_t>& numbers) {
  const hsize_t size = numbers.size();
  const hid_t type = Hdf5::Get().numbers.at(static_cast<std::size_t>(NumberType::Int64));
  SetAttribute(file_, object, name, type, &size, numbers.data());
}

// NOLINTEND(readability-make-member-function-const)

void Hdf5File::Close() {
  errno = 0;
  Require(Hdf5::Get().closeFile(std::exchange(file_, -1)));
}

}  // namespace LbtTev::Exchange

#else

namespace LbtTev::Exchange {

std::string Hdf5Fault() { return "this build has no HDF5"; }

Hdf5File::Hdf5File(const std::string& /*path*/) { RaiseWriteError(Hdf5Fault()); }
Hdf5File::~Hdf5File() = default;
void Hdf5File::MakeGroup(const std::string& /*name*/) {}
void Hdf5File::MakeDataset(const std::string& /*name*/, NumberType /*type*/,
                           std::uint64_t /*tuples*/, std::size_t /*width*/) {}
void Hdf5File::Write(const std::string& /*dataset*/, std::uint64_t /*first*/,
                     std::span<const std::byte> /*tuples*/) {}
void Hdf5File::SetText(const std::string& /*object*/, const char* /*name*/,
                       const std::string& /*text*/) {}
void Hdf5File::SetTexts(const std::string& /*object*/, const char* /*name*/,
                        const std::vector<std::string>& /*texts*/) {}
void Hdf5File::SetNumbers(const std::string& /*object*/, const char* /*name*/,
                          const std::vector<std::int64_t>& /*numbers*/) {}
void Hdf5File::Close() {}

}  // namespace LbtTev::Exchange

#endif
