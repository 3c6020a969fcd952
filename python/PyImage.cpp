#include "PyImage.h"

#include <complex>
#include <cstring>
#include <stdexcept>
#include <type_traits>
#include <variant>

#include "PyErrors.h"
#include "PySensor.h"
#include "PyValues.h"
#include "tessel/core/eCompressionType.h"

namespace py = pybind11;

namespace tessel_python {
namespace {

// The numpy type of one sample: complex integers widen to numpy's complex floats, as GDAL's
// ReadAsArray gives them.
py::dtype sampleDtype(lumo_pixel::type type, uint32_t bytes) {
    switch (type) {
        case lumo_pixel::unsigned_integer:
        case lumo_pixel::bilevel:
            if (bytes == 1 || bytes == 2 || bytes == 4 || bytes == 8) {
                return py::dtype("u" + std::to_string(bytes));
            }
            break;
        case lumo_pixel::signed_integer:
            if (bytes == 1 || bytes == 2 || bytes == 4 || bytes == 8) {
                return py::dtype("i" + std::to_string(bytes));
            }
            break;
        case lumo_pixel::real:
            if (bytes == 4 || bytes == 8) {
                return py::dtype("f" + std::to_string(bytes));
            }
            break;
        case lumo_pixel::complex_float:
            if (bytes == 8 || bytes == 16) {
                return py::dtype("c" + std::to_string(bytes));
            }
            break;
        case lumo_pixel::complex_integer:
            if (bytes == 2 || bytes == 4) {
                return py::dtype("c8");
            }
            if (bytes == 8) {
                return py::dtype("c16");
            }
            break;
        default:
            break;
    }
    throw TesselError("samples of " + std::to_string(bytes) +
                      " byte(s) of this pixel type have no numpy type");
}

template <typename Part, typename Complex>
void widenComplex(const uint8_t* from, size_t count, Complex* to) {
    for (size_t i = 0; i < count; ++i) {
        Part parts[2];
        std::memcpy(parts, from + i * sizeof parts, sizeof parts);
        to[i] = Complex(static_cast<typename Complex::value_type>(parts[0]),
                        static_cast<typename Complex::value_type>(parts[1]));
    }
}

// Copies samples read as the library holds them into the array's memory.
void copySamples(const std::vector<uint8_t>& samples, lumo_pixel::type type, uint32_t bytes,
                 void* to) {
    if (type != lumo_pixel::complex_integer) {
        std::memcpy(to, samples.data(), samples.size());
        return;
    }
    const size_t count = samples.size() / bytes;
    if (bytes == 2) {
        widenComplex<int8_t>(samples.data(), count, static_cast<std::complex<float>*>(to));
    } else if (bytes == 4) {
        widenComplex<int16_t>(samples.data(), count, static_cast<std::complex<float>*>(to));
    } else {
        widenComplex<int32_t>(samples.data(), count, static_cast<std::complex<double>*>(to));
    }
}

const char* pixelTypeName(lumo_pixel::type type) {
    switch (type) {
        case lumo_pixel::unsigned_integer:
            return "INT";
        case lumo_pixel::bilevel:
            return "B";
        case lumo_pixel::signed_integer:
            return "SI";
        case lumo_pixel::real:
            return "R";
        case lumo_pixel::complex_integer:
        case lumo_pixel::complex_float:
            return "C";
        default:
            return "";
    }
}

std::vector<int> bandList(const std::optional<std::vector<uint32_t>>& bands, uint32_t count) {
    std::vector<int> list;
    if (!bands) {
        for (uint32_t band = 0; band < count; ++band) {
            list.push_back(static_cast<int>(band));
        }
        return list;
    }
    if (bands->empty()) {
        throw py::value_error("bands: the list is empty");
    }
    for (const uint32_t band : *bands) {
        if (band >= count) {
            throw py::value_error("bands: band " + std::to_string(band) +
                                  " doesn't exist (the image has " + std::to_string(count) +
                                  ", numbered from 0)");
        }
        list.push_back(static_cast<int>(band));
    }
    return list;
}

Window checkedWindow(const std::optional<Window>& window, const Tessel::NITFImage& image) {
    if (!window) {
        return {0, 0, image.getWidth(), image.getHeight()};
    }
    const auto [x, y, width, height] = *window;
    if (width == 0 || height == 0) {
        throw py::value_error("window: width and height must be at least 1");
    }
    if (uint64_t{x} + width > image.getWidth() || uint64_t{y} + height > image.getHeight()) {
        throw py::value_error("window (" + std::to_string(x) + ", " + std::to_string(y) + ", " +
                              std::to_string(width) + ", " + std::to_string(height) +
                              ") lies outside the image (" + std::to_string(image.getWidth()) +
                              " x " + std::to_string(image.getHeight()) + ")");
    }
    return *window;
}

py::object colorMapObject(const Tessel::ColorMap& map) {
    return std::visit(
        [](const auto& entries) -> py::object {
            using Entries = std::decay_t<decltype(entries)>;
            if constexpr (std::is_same_v<Entries, std::monostate>) {
                return py::none();
            } else {
                py::list list;
                for (const auto& entry : entries) {
                    if constexpr (std::is_same_v<Entries, std::vector<uint8_t>>) {
                        list.append(entry);
                    } else {
                        py::tuple values(entry.size());
                        for (size_t i = 0; i < entry.size(); ++i) {
                            values[i] = entry[i];
                        }
                        list.append(values);
                    }
                }
                return list;
            }
        },
        map);
}

}  // namespace

PyImage::PyImage(std::shared_ptr<OpenedFile> opened, std::shared_ptr<Tessel::NITFImage> base,
                 size_t index)
    : opened_(std::move(opened)), base_(base), image_(std::move(base)), index_(index), level_(0) {}

std::string PyImage::pixelType() const {
    return pixelTypeName(image_->getPixelType());
}

py::dtype PyImage::dtype() const {
    return sampleDtype(image_->getPixelType(), image_->getBytesPerPixel());
}

std::string PyImage::compression() const {
    return std::string(Tessel::ToString(image_->getCompressionType()));
}

py::dict PyImage::compressionInfo() const {
    py::dict info;
    for (const auto& [key, value] : image_->getCompressionInfo()) {
        info[pythonText(key)] = pythonText(value);
    }
    return info;
}

uint32_t PyImage::levels() const {
    return base_->getInternalPyramidLevels();
}

Size PyImage::blockSize() const {
    return {image_->getBlockWidth(), image_->getBlockHeight()};
}

Size PyImage::blockCount() const {
    return {image_->getBlocksX(), image_->getBlocksY()};
}

py::object PyImage::noData() const {
    const lumo_pixel::pixel value = image_->getNoData();
    switch (value.pixelType) {
        case lumo_pixel::unsigned_integer:
        case lumo_pixel::bilevel:
            return py::int_(value.asUnsigned());
        case lumo_pixel::signed_integer:
            return py::int_(value.asSigned());
        case lumo_pixel::unknown:
            return py::none();
        default:
            return py::float_(value.asDouble());
    }
}

py::object PyImage::colorMap(uint32_t band) const {
    if (band >= image_->getNumBands()) {
        throw py::value_error("band " + std::to_string(band) + " doesn't exist (the image has " +
                              std::to_string(image_->getNumBands()) + ", numbered from 0)");
    }
    return colorMapObject(image_->getColorMap(band));
}

PyImage PyImage::atLevel(uint32_t level) const {
    PyImage other(opened_, base_, index_);
    if (level == 0) {
        return other;
    }
    std::shared_ptr<Tessel::NITFImage> found;
    {
        py::gil_scoped_release unlocked;
        found = base_->getPyramidLevel(level);
        if (!found) {
            found = base_->openPyramidLevel(level);
        }
    }
    if (!found) {
        throw py::value_error("the image has no pyramid level " + std::to_string(level) +
                              " (levels found: " + std::to_string(levels()) + ")");
    }
    other.image_ = std::move(found);
    other.level_ = level;
    return other;
}

py::array PyImage::read(const std::optional<Window>& window,
                        const std::optional<std::vector<uint32_t>>& bands,
                        std::optional<uint32_t> level, const std::optional<Size>& size) const {
    const PyImage source = level && *level != level_ ? atLevel(*level) : *this;
    const Tessel::NITFImage& image = *source.image_;
    const auto [x, y, width, height] = checkedWindow(window, image);
    const std::vector<int> list = bandList(bands, image.getNumBands());
    auto [outWidth, outHeight] = size.value_or(Size{width, height});
    if (outWidth == 0 || outHeight == 0) {
        throw py::value_error("size: width and height must be at least 1");
    }
    const py::dtype type = sampleDtype(image.getPixelType(), image.getBytesPerPixel());
    std::vector<uint8_t> samples;
    bool read = false;
    {
        py::gil_scoped_release unlocked;
        read = image.readRegionViaPixels(x, y, width, height, outWidth, outHeight, list, samples);
    }
    if (!read) {
        throw TesselError("reading the window failed");
    }
    const size_t count = list.size() * size_t{outWidth} * outHeight;
    if (samples.size() != count * image.getBytesPerPixel()) {
        throw TesselError("the read gave " + std::to_string(samples.size()) + " bytes instead of " +
                          std::to_string(count * image.getBytesPerPixel()));
    }
    py::array array(type, std::vector<py::ssize_t>{static_cast<py::ssize_t>(list.size()),
                                                   static_cast<py::ssize_t>(outHeight),
                                                   static_cast<py::ssize_t>(outWidth)});
    copySamples(samples, image.getPixelType(), image.getBytesPerPixel(), array.mutable_data());
    return array;
}

py::dict PyImage::histogram(uint32_t band, uint32_t step) const {
    if (band >= image_->getNumBands()) {
        throw py::value_error("band " + std::to_string(band) + " doesn't exist (the image has " +
                              std::to_string(image_->getNumBands()) + ", numbered from 0)");
    }
    Tessel::NITFImage::Histogram histogram;
    histogram.step = step;
    bool counted = false;
    {
        py::gil_scoped_release unlocked;
        counted = image_->calculateHistogram(static_cast<int>(band), histogram);
    }
    if (!counted) {
        throw TesselError("no histogram of band " + std::to_string(band) +
                          ": its pixel type isn't counted, or the sampled area is too large");
    }
    py::dict out;
    out["band"] = band;
    out["step"] = histogram.step;
    out["min"] = histogram.min;
    out["max"] = histogram.max;
    out["mean"] = histogram.mean;
    out["stddev"] = histogram.stddev;
    out["offset"] = histogram.offset + 0.0;
    out["scale"] = histogram.scale;
    out["bins"] = py::array_t<uint64_t>(static_cast<py::ssize_t>(histogram.bins.size()),
                                        histogram.bins.data());
    return out;
}

py::object PyImage::path(const std::string& path) const {
    any_type::value value;
    {
        py::gil_scoped_release unlocked;
        value = image_->getPath(path);
    }
    return pythonValue(value);
}

PySensor PyImage::sensor(const std::string& model) const {
    return PySensor(opened_, model);
}

std::string PyImage::repr() const {
    return "<tessel.Image " + std::to_string(index_) +
           (level_ ? " level " + std::to_string(level_) : "") + ": " + std::to_string(width()) +
           " x " + std::to_string(height()) + ", " + std::to_string(bandCount()) + " band(s) " +
           pixelType() + " " + std::to_string(bitsPerPixel()) + "-bit, " + compression() + ">";
}

}  // namespace tessel_python
