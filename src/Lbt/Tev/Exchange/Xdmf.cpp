// Writes all steps as XDMF, with the numbers in a file of HDF5.

#include <cerrno>
#include <filesystem>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "Hdf5File.h"
#include "Lbt/Tev/Exchange/Hdf5Formats.h"
#include "Lbt/Tev/Exchange/ReplacedFile.h"
#include "XdmfArrays.h"
#include "XmlText.h"

namespace LbtTev::Exchange {

namespace {

using Analysis::Field;
using Analysis::Location;
using Analysis::MeshVariables;

/// The XML, which tells where the arrays of each grid are.
class XdmfText {
 public:
  XdmfText(const Contents& contents, const XdmfArrays& arrays, std::string numbersFile,
           std::ostream& out)
      : contents_(&contents),
        arrays_(&arrays),
        numbersFile_(std::move(numbersFile)),
        out_(&out),
        partNames_(contents.PartNames()) {}

  void Write() {
    *out_ << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Xdmf Version=\"3.0\">\n<Domain>\n"
             "<Grid Name=\"Steps\" GridType=\"Collection\" CollectionType=\"Temporal\">\n";
    for (std::size_t place = 0; place < contents_->Steps().size(); ++place) {
      WriteStep(place);
    }
    *out_ << "</Grid>\n</Domain>\n</Xdmf>\n";
  }

 private:
  void WriteStep(std::size_t place) {
    const PlaceInTime step = contents_->Steps()[place];
    const std::string text = contents_->TextOf(step);
    *out_ << "<Grid Name=\"" << XmlText(step ? text : "Parts")
          << "\" GridType=\"Collection\" CollectionType=\"Spatial\">\n<Time Value=\""
          << NumberIn(contents_->TimeOf(place)) << "\"/>\n";
    if (step) {
      *out_ << R"(<Information Name="Step" Value=")" << XmlText(text) << "\"/>\n";
    }
    for (std::size_t i = 0; i < partNames_.size(); ++i) {
      const std::size_t part = contents_->Parts()[i];
      const Analysis::Model& model = contents_->GetModel();
      const MeshVariables mesh = model.MeshAt(model.Parts()[part], step);
      if (const XdmfMesh* written = arrays_->MeshOf(mesh)) {
        *out_ << "<Grid Name=\"" << XmlText(partNames_[i]) << "\">\n";
        WriteMesh(*written);
        WriteIds(mesh);
        WriteFields(part, step, mesh);
        *out_ << "</Grid>\n";
      }
    }
    *out_ << "</Grid>\n";
  }

  void WriteMesh(const XdmfMesh& mesh) {
    *out_ << "<Geometry GeometryType=\"XYZ\">";
    WriteItem(mesh.points);
    *out_ << "</Geometry>\n<Topology TopologyType=\""
          << (mesh.isMixed ? "Mixed" : FactsOf(mesh.shape).xdmfName) << "\" NumberOfElements=\""
          << mesh.count << '"';
    // Types of any number of nodes tell it.
    if (!mesh.isMixed && FactsOf(mesh.shape).xdmfCode <= 3) {
      *out_ << " NodesPerElement=\"" << mesh.nodes << '"';
    }
    *out_ << '>';
    WriteItem(mesh.cells);
    *out_ << "</Topology>\n";
  }

  void WriteIds(const MeshVariables& mesh) {
    if (const XdmfArray* nodes = arrays_->IdsOf(mesh, Location::Node)) {
      WriteAttribute("Node Ids", "Node", *nodes);
      for (const auto& [name, set] : arrays_->SetsOf(mesh)) {
        *out_ << "<Set Name=\"" << XmlText(name) << R"(" SetType="Node">)";
        WriteItem(set);
        *out_ << "</Set>\n";
      }
    }
    if (const XdmfArray* elements = arrays_->IdsOf(mesh, Location::Element)) {
      WriteAttribute("Element Ids", "Cell", *elements);
    }
  }

  void WriteFields(std::size_t part, PlaceInTime step, const MeshVariables& mesh) {
    std::map<std::string, int> names{{"Node Ids", 1}, {"Element Ids", 1}};
    for (const Field* field : contents_->FieldsAt(part, step)) {
      const Location location = LocationOn(mesh, *field);
      const XdmfArray* values = arrays_->ValuesOf(*field);
      if (location != Location::Unknown && values != nullptr) {
        WriteAttribute(UniqueName(XmlText(Analysis::ShownName(field->result)), names),
                       location == Location::Node ? "Node" : "Cell", *values);
      }
    }
  }

  /// "name" is as XML has it. Six numbers are no Tensor6: that has another order, which readers
  /// undo.
  void WriteAttribute(const std::string& name, std::string_view center, const XdmfArray& values) {
    const std::string_view type = values.width == 0   ? "Scalar"
                                  : values.width == 3 ? "Vector"
                                                      : "Matrix";
    *out_ << "<Attribute Name=\"" << name << "\" AttributeType=\"" << type << "\" Center=\""
          << center << "\">";
    WriteItem(values);
    *out_ << "</Attribute>\n";
  }

  void WriteItem(const XdmfArray& array) {
    *out_ << "<DataItem Dimensions=\"" << array.tuples;
    if (array.width != 0) {
      *out_ << ' ' << array.width;
    }
    const std::string_view type = array.type == NumberType::Float32 ? "Float"
                                  : array.type == NumberType::Int32 ? "Int"
                                                                    : "UInt";
    *out_ << "\" NumberType=\"" << type << R"(" Precision="4" Format="HDF">)"
          << XmlText(numbersFile_) << ':' << array.path << "</DataItem>";
  }

  const Contents* contents_;
  const XdmfArrays* arrays_;
  std::string numbersFile_;
  std::ostream* out_;
  std::vector<std::string> partNames_;
};

/// Numbers without the ".xdmf" that refers to them may be somebody's work.
void RequireOwnNumbers(const std::filesystem::path& numbers, const std::filesystem::path& xdmf) {
  std::error_code error;
  if (std::filesystem::is_regular_file(numbers, error) &&
      (numbers == xdmf || !std::filesystem::is_regular_file(xdmf, error))) {
    errno = 0;
    RaiseWriteError(numbers.filename().string() + " beside it is no export's");
  }
}

}  // namespace

void WriteXdmf(const Contents& contents, const CellRules& rules, const std::string& path,
               const Listener& listener) {
  const std::filesystem::path target = TargetOf(path);
  const std::filesystem::path numbersPath =
      std::filesystem::path(target).replace_extension(kXdmfNumbers);
  RequireOwnNumbers(numbersPath, target);
  ReplacedFile text(path);
  ReplacedFile numbers(numbersPath.string());
  Hdf5File file(numbers.Path());
  XdmfArrays arrays(contents, rules, listener);
  arrays.WriteTo(file);
  file.Close();
  XdmfText(contents, arrays, numbersPath.filename().string(), text.Stream()).Write();
  text.Finish();
  numbers.Finish();
  numbers.Commit();
  text.Commit();
}

}  // namespace LbtTev::Exchange
