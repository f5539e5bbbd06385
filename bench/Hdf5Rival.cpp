// Writes and reads the values of a model with HDF5.

#include <hdf5.h>

#include <array>
#include <boost/variant/static_visitor.hpp>

#include "Rivals.h"

namespace bench {

namespace {

using LbtTev::Geometry;

/// Something of HDF5 that is open.
class Handle {
 public:
  using Closer = herr_t (*)(hid_t);

  Handle(hid_t id, Closer closer, const char* what) : id_(id), closer_(closer) {
    Require(id >= 0, what);
  }
  ~Handle() { closer_(id_); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  operator hid_t() const { return id_; }

 private:
  hid_t id_;
  Closer closer_;
};

/// Writes one attribute of an object.
class AttributeWriter : public boost::static_visitor<> {
 public:
  AttributeWriter(hid_t object, const std::string& name) : object_(object), name_(&name) {}

  void operator()(unsigned int value) const { Write(H5T_NATIVE_UINT, &value); }
  void operator()(float value) const { Write(H5T_NATIVE_FLOAT, &value); }
  void operator()(double value) const { Write(H5T_NATIVE_DOUBLE, &value); }
  void operator()(const std::string& text) const {
    const Handle type(H5Tcopy(H5T_C_S1), H5Tclose, "H5Tcopy");
    Require(H5Tset_size(type, text.size() + 1) >= 0, "H5Tset_size");
    Write(type, text.c_str());
  }

 private:
  void Write(hid_t type, const void* value) const {
    const Handle space(H5Screate(H5S_SCALAR), H5Sclose, "H5Screate");
    const Handle attribute(
        H5Acreate2(object_, name_->c_str(), type, space, H5P_DEFAULT, H5P_DEFAULT), H5Aclose,
        "H5Acreate");
    Require(H5Awrite(attribute, type, value) >= 0, "H5Awrite");
  }

  hid_t object_;
  const std::string* name_;
};

/// Items of "width" components: one dimension or two.
struct Shape {
  Shape(std::size_t items, unsigned int width)
      : rank(width == 1 ? 1 : 2), size{items, width}, chunk{kChunkItems, width} {}

  int rank;
  std::array<hsize_t, 2> size;
  std::array<hsize_t, 2> chunk;
};

void SetStorage(hid_t properties, const Shape& shape) {
  if (shape.size[0] >= kChunkItems) {
    Require(H5Pset_chunk(properties, shape.rank, shape.chunk.data()) >= 0, "H5Pset_chunk");
    Require(H5Pset_shuffle(properties) >= 0, "H5Pset_shuffle");
    Require(H5Pset_deflate(properties, static_cast<unsigned int>(kLevel)) >= 0, "H5Pset_deflate");
  }
}

void CheckValues(hid_t dataset, const std::vector<float>& values) {
  std::vector<float> stored(values.size());
  Require(H5Dread(dataset, H5T_NATIVE_FLOAT, H5S_ALL, H5S_ALL, H5P_DEFAULT, stored.data()) >= 0,
          "H5Dread");
  Require(stored == values, "reading the values back from HDF5");
}

void AddVariable(hid_t group, const Geometry::VarStruct& variable) {
  const std::vector<float> values = Load(variable);
  const unsigned int width = variable.array.width;
  const Shape shape(values.size() / width, width);
  const Handle space(H5Screate_simple(shape.rank, shape.size.data(), nullptr), H5Sclose,
                     "H5Screate_simple");
  const Handle properties(H5Pcreate(H5P_DATASET_CREATE), H5Pclose, "H5Pcreate");
  SetStorage(properties, shape);
  const Handle dataset(H5Dcreate2(group, variable.name.c_str(), H5T_IEEE_F32LE, space, H5P_DEFAULT,
                                  properties, H5P_DEFAULT),
                       H5Dclose, "H5Dcreate");
  Require(H5Dwrite(dataset, H5T_NATIVE_FLOAT, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()) >= 0,
          "H5Dwrite");
  CheckValues(dataset, values);
  for (const auto& [name, value] : variable.attributes) {
    value.Visit(AttributeWriter(dataset, name));
  }
}

/// Adds a group for a node, with its variables and its children.
void AddNode(hid_t parent, const LbtTev::Tree& tree, unsigned int id) {
  const auto& entry = tree.GetReqNode(id);
  const Handle group(
      H5Gcreate2(parent, entry.data->name.c_str(), H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT), H5Gclose,
      "H5Gcreate");
  if (const auto* geometry = dynamic_cast<const Geometry*>(entry.data)) {
    for (const Geometry::VarStruct& variable : geometry->variables) {
      AddVariable(group, variable);
    }
  }
  for (unsigned int child = entry.firstChild; child != 0;
       child = tree.GetReqNode(child).nextSibling) {
    AddNode(group, tree, child);
  }
}

}  // namespace

void WriteHdf5(const LbtTev::Tree& tree, const std::string& path) {
  const Handle file(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT), H5Fclose,
                    "H5Fcreate");
  AddNode(file, tree, LbtTev::Tree::kRootId);
  Require(H5Fflush(file, H5F_SCOPE_GLOBAL) >= 0, "H5Fflush");
}

}  // namespace bench
