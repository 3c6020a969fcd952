#include "PyValues.h"

#include "PyErrors.h"
#include "tessel/paths/StandardJson.h"
#include "tessel/platform/base/text.h"

namespace py = pybind11;

namespace tessel_python {

py::str pythonText(const std::string& text) {
    PyObject* decoded =
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "strict");
    if (decoded == nullptr) {
        PyErr_Clear();
        decoded =
            PyUnicode_DecodeLatin1(text.data(), static_cast<Py_ssize_t>(text.size()), "strict");
    }
    if (decoded == nullptr) {
        throw py::error_already_set();
    }
    return py::reinterpret_steal<py::str>(decoded);
}

py::object pythonValue(const any_type::value& value) {
    switch (value.index()) {
        case any_type::tag_bool:
            return py::bool_(std::get<bool>(value));
        case any_type::tag_int:
            return py::int_(std::get<int64_t>(value));
        case any_type::tag_double:
            return py::float_(std::get<double>(value));
        case any_type::tag_string:
            return pythonText(std::get<std::string>(value));
        case any_type::tag_wstring:
            return py::str(std::to_string(std::get<std::wstring>(value)));
        case any_type::tag_date:
            return py::str(std::to_string(std::get<nitf_date>(value)));
        default:
            return py::none();
    }
}

py::object pythonTree(const std::string& json) {
    const py::object loads = py::module_::import("json").attr("loads");
    try {
        return loads(pythonText(Tessel::standardJsonEscapes(json)));
    } catch (const py::error_already_set& error) {
        throw TesselError(std::string("the metadata isn't readable as JSON: ") + error.what());
    }
}

}  // namespace tessel_python
