// The compiled module of the Python package: hands models, numbers and failures to Python.

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "Lbt/Log/Manager.h"
#include "Lbt/Tev/Analysis/Selection.h"
#include "ModelReader.h"
#include "tev/Entries.h"

namespace py = pybind11;

namespace {

using WithoutLock = py::call_guard<py::gil_scoped_release>;

/// Makes arrays of Python refer to numbers that were loaded: without a copy, and for reading only,
/// since fields may share them.
template <class T>
void BindNumbers(py::module_& module, const char* name) {
  py::class_<Numbers<T>>(module, name, py::buffer_protocol())
      .def_buffer([](const Numbers<T>& numbers) {
        static T nothing{};
        // Read-only, whatever the type of the pointer.
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast)
        T* first = numbers.all->empty() ? &nothing : const_cast<T*>(numbers.all->data());
        std::vector<py::ssize_t> shape(numbers.shape.begin(), numbers.shape.end());
        std::vector<py::ssize_t> strides(shape.size(), sizeof(T));
        for (std::size_t i = shape.size(); i > 1; --i) {
          strides[i - 2] = strides[i - 1] * shape[i - 1];
        }
        // Else NumPy would take 64 bits for another type than its own of that size.
        const std::string format =
            std::is_same_v<T, long> ? "l" : py::format_descriptor<T>::format();
        const auto dimensions = static_cast<py::ssize_t>(shape.size());
        return py::buffer_info(first, sizeof(T), format, dimensions, std::move(shape),
                               std::move(strides), true);
      });
}

/// Paths and names are what the system and the file have, whatever they may mean as text.
std::string PathOf(const py::bytes& path) { return path; }

/// The exception of the package for a failure; its classes are written in Python.
void RaiseInPython(const ReadFailure& failure) {
  const auto toText = [](const std::string& text) {
    return py::reinterpret_steal<py::object>(
        PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "replace"));
  };
  const auto& place = failure.place;
  const py::object error =
      py::module_::import("tev._errors")
          .attr("of_failure")(std::string(NameOf(failure.code)), toText(failure.what()),
                              place.block, place.stream ? toText(*place.stream) : py::none(),
                              place.offset, py::bytes(failure.path));
  PyErr_SetObject(py::type::of(error).ptr(), error.ptr());
}

void TranslateFailures(std::exception_ptr exception) {
  try {
    std::rethrow_exception(std::move(exception));
  } catch (const ReadFailure& failure) {
    RaiseInPython(failure);
  } catch (const UsageError& error) {
    PyErr_SetString(PyExc_ValueError, error.what());
  }
}

py::object Load(ModelReader& reader, const std::vector<std::size_t>& fields) {
  std::vector<LoadedField> loaded;
  {
    const py::gil_scoped_release unlocked;
    loaded = reader.Load(fields);
  }
  py::list list;
  for (LoadedField& field : loaded) {
    if (field.failure) {
      list.append(py::cast(*field.failure));
    } else {
      list.append(py::cast(std::move(field.values)));
    }
  }
  return list;
}

py::tuple Faces(ModelReader& reader, std::size_t part, std::int64_t step) {
  LoadedFaces faces;
  {
    const py::gil_scoped_release unlocked;
    faces = reader.Faces(part, step);
  }
  return py::make_tuple(std::move(faces.offsets), std::move(faces.indices));
}

std::string CheckEntry(const std::string& path) {
  const NamedInput input(path);
  RequireReadable(input.Get(), true);
  return EntryOf("check", path,
                 [&input](AnswerWriter& writer) { AnswerCheck(input.Get(), writer); });
}

std::string DiffEntry(const std::string& a, const std::string& b, const std::string& relative,
                      const std::string& absolute) {
  const NamedInput inputA(a);
  const NamedInput inputB(b);
  RequireReadable(inputA.Get());
  RequireReadable(inputB.Get());
  return EntryOf("diff", a, [&](AnswerWriter& writer) {
    AnswerDiff(inputA.Get(), inputB.Get(), relative, absolute, writer);
  });
}

std::string NoMatch(const std::string& kind, const std::string& name,
                    const std::vector<std::string>& names) {
  const std::vector<std::string_view> views(names.begin(), names.end());
  return LbtTev::Analysis::NoMatchText(kind.c_str(), name, views);
}

void BindReader(py::module_& module) {
  py::class_<ReadFailure>(module, "Failure").def("throw", [](const ReadFailure& failure) {
    throw ReadFailure(failure);
  });
  py::class_<ModelReader>(module, "Reader")
      .def(py::init([](const py::bytes& path, std::uint64_t cacheBytes) {
             const std::string text = PathOf(path);
             const py::gil_scoped_release unlocked;
             return std::make_unique<ModelReader>(text, cacheBytes);
           }),
           py::arg("path"), py::arg("cache_bytes"))
      .def("close", &ModelReader::Close, WithoutLock())
      .def_property_readonly("closed", &ModelReader::IsClosed, WithoutLock())
      .def("info", &ModelReader::Info, WithoutLock())
      .def("fields", &ModelReader::Fields, WithoutLock())
      .def("load", &Load, py::arg("fields"))
      .def("statistics", &ModelReader::FieldStatistics, py::arg("field"), WithoutLock())
      .def("points", &ModelReader::Points, py::arg("part"), py::arg("step"), WithoutLock())
      .def("faces", &Faces, py::arg("part"), py::arg("step"))
      .def("ids", &ModelReader::Ids, py::arg("part"), py::arg("step"), py::arg("of_nodes"),
           WithoutLock())
      .def("blocks_read", &ModelReader::BlocksRead, WithoutLock());
}

}  // namespace

PYBIND11_MODULE(_native, module) {
  // Made here, where there is one thread; nobody adds loggers to it.
  static_cast<void>(Lbt::Util::SingletonHolder<Lbt::Log::Manager>::getInstance());
  py::register_exception_translator(&TranslateFailures);
  BindNumbers<float>(module, "Floats");
  BindNumbers<unsigned int>(module, "Indices");
  BindNumbers<std::int64_t>(module, "Ids");
  BindReader(module);
  module.attr("OWN_MESH") = ModelReader::kOwnMesh;
  module.attr("NO_STEP") = ModelReader::kNoStep;
  module.attr("VERSION") = TEVINFO_VERSION;
  module.def(
      "check",
      [](const py::bytes& path) {
        const std::string text = PathOf(path);
        const py::gil_scoped_release unlocked;
        return CheckEntry(text);
      },
      py::arg("path"));
  module.def(
      "diff",
      [](const py::bytes& a, const py::bytes& b, const std::string& relative,
         const std::string& absolute) {
        const std::string pathA = PathOf(a);
        const std::string pathB = PathOf(b);
        const py::gil_scoped_release unlocked;
        return DiffEntry(pathA, pathB, relative, absolute);
      },
      py::arg("a"), py::arg("b"), py::arg("rtol"), py::arg("atol"));
  module.def("no_match", &NoMatch, py::arg("kind"), py::arg("name"), py::arg("names"));
}
