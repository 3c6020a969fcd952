// The Python module "tessel": NITF files, their images as numpy arrays, their metadata and
// sensor models, through the library's public API.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "PyErrors.h"
#include "PyFile.h"
#include "PyImage.h"
#include "PySensor.h"

namespace py = pybind11;
using namespace pybind11::literals;
using tessel_python::PyFile;
using tessel_python::PyImage;
using tessel_python::PySensor;

namespace {

void defineFile(py::module_& module) {
    py::class_<PyFile>(module, "File", "An opened NITF file.")
        .def_property_readonly("uri", &PyFile::uri, "The URI the file was opened by.")
        .def_property_readonly("version", &PyFile::version, "\"NITF 2.10\", \"NSIF 1.00\"...")
        .def_property_readonly("segments", &PyFile::segments,
                               "Segment counts: images, graphics, labels, texts, "
                               "data_extensions, reserved_extensions.")
        .def_property_readonly("image_count", &PyFile::imageCount)
        .def_property_readonly("images", &PyFile::images, "Every image segment.")
        .def("image", &PyFile::image, "index"_a = 0, "The image segment `index` (from 0).")
        .def("path", &PyFile::path, "path"_a,
             "The value of a metadata path (\"/FileHeader/FTITLE\"); None when it isn't there.")
        .def("tree", &PyFile::tree, "The whole metadata tree as dicts and lists.")
        .def("xml", &PyFile::xml, "The whole metadata tree as an XML document.")
        .def("__len__", &PyFile::imageCount)
        .def("__getitem__", &PyFile::image)
        .def("__repr__", &PyFile::repr);
}

void defineImage(py::module_& module) {
    py::class_<PyImage>(module, "Image", "One image segment, or one pyramid level of it.")
        .def_property_readonly("index", &PyImage::index, "The image segment's index.")
        .def_property_readonly("level", &PyImage::level, "The pyramid level (0: full size).")
        .def_property_readonly("width", &PyImage::width)
        .def_property_readonly("height", &PyImage::height)
        .def_property_readonly("bands", &PyImage::bandCount, "The number of bands.")
        .def_property_readonly("pixel_type", &PyImage::pixelType, "INT, B, SI, R or C.")
        .def_property_readonly("dtype", &PyImage::dtype, "The numpy type of read() arrays.")
        .def_property_readonly("bits_per_pixel", &PyImage::bitsPerPixel)
        .def_property_readonly("actual_bits_per_pixel", &PyImage::actualBitsPerPixel)
        .def_property_readonly("compression", &PyImage::compression, "NC, C3, C8...")
        .def_property_readonly("compression_info", &PyImage::compressionInfo)
        .def_property_readonly("levels", &PyImage::levels, "The number of pyramid levels.")
        .def_property_readonly("block_size", &PyImage::blockSize, "(width, height)")
        .def_property_readonly("block_count", &PyImage::blockCount, "(across, down)")
        .def_property_readonly("nodata", &PyImage::noData, "The NoData value, or None.")
        .def_property_readonly("category", &PyImage::category, "ICAT")
        .def_property_readonly("representation", &PyImage::representation, "IREP")
        .def("color_map", &PyImage::colorMap, "band"_a = 0,
             "A band's colour map as a list of entries, or None.")
        .def("at_level", &PyImage::atLevel, "level"_a, "The image at a pyramid level.")
        .def("read", &PyImage::read, "window"_a = py::none(), "bands"_a = py::none(),
             "level"_a = py::none(), "size"_a = py::none(),
             "Samples of window=(x, y, width, height) of the bands (all by default) as an\n"
             "array of shape (bands, height, width); size=(width, height) resamples by\n"
             "nearest neighbour.")
        .def("histogram", &PyImage::histogram, "band"_a = 0, "step"_a = 1,
             "Value counts and statistics of one band.")
        .def("path", &PyImage::path, "path"_a, "The value of a metadata path of this image.")
        .def("sensor", &PyImage::sensor, "model"_a = "",
             "A sensor model of this image, read from its own support data: \"RPC00B\",\n"
             "\"RPC00A\" or a model name (VEXA_RPC_B, VEXA_RPC_A, VEXA_RSM_POLY,\n"
             "VEXA_4C_BLOCKA, VEXA_4C_CSCRNA, VEXA_4C_IGEOLO); by default the first of these\n"
             "the image has.")
        .def("__repr__", &PyImage::repr);
}

void defineSensor(py::module_& module) {
    py::class_<PySensor>(module, "Sensor", "A sensor model of an image.")
        .def_property_readonly("name", &PySensor::name)
        .def("to_image", &PySensor::toImage, "lat"_a, "lon"_a, "height"_a = 0.0,
             "(line, sample) of ground points (degrees, metres); numbers or arrays.")
        .def("to_ground", &PySensor::toGround, "line"_a, "sample"_a, "height"_a = 0.0,
             "(lat, lon) of image points at a height; numbers or arrays.");
}

}  // namespace

PYBIND11_MODULE(tessel, module) {
    module.doc() = "NITF imagery, metadata and sensor models.";
    module.attr("__version__") = TESSEL_VERSION_TEXT;
    py::register_exception<tessel_python::TesselError>(module, "Error", PyExc_RuntimeError);
    module.def(
        "version", [] { return std::string(TESSEL_VERSION_TEXT); }, "The library's version.");
    module.def(
        "open", [](const std::string& uri) { return PyFile(uri); }, "uri"_a,
        "Opens a NITF file (\"file.ntf\", \"file.ntf#IM_2\", \"NITF_IM:2:file.ntf\").");
    defineFile(module);
    defineImage(module);
    defineSensor(module);
}
