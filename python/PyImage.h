#pragma once
// tessel.Image: one image segment (or one pyramid level of it) with its structure, pixel
// reads into numpy arrays, histograms, metadata paths and its sensor model.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "PyFile.h"
#include "tessel/image/NITFImage.h"

namespace tessel_python {

class PySensor;

using Window = std::tuple<uint32_t, uint32_t, uint32_t, uint32_t>;
using Size = std::tuple<uint32_t, uint32_t>;

class PyImage {
public:
    PyImage(std::shared_ptr<OpenedFile> opened, std::shared_ptr<Tessel::NITFImage> base,
            size_t index);

    size_t index() const { return index_; }
    uint32_t level() const { return level_; }
    uint32_t width() const { return image_->getWidth(); }
    uint32_t height() const { return image_->getHeight(); }
    uint32_t bandCount() const { return image_->getNumBands(); }
    std::string pixelType() const;
    pybind11::dtype dtype() const;
    uint32_t bitsPerPixel() const { return image_->getBitsPerPixel(); }
    uint32_t actualBitsPerPixel() const { return image_->getActualBitsPerPixel(); }
    std::string compression() const;
    pybind11::dict compressionInfo() const;
    uint32_t levels() const;
    Size blockSize() const;
    Size blockCount() const;
    pybind11::object noData() const;
    pybind11::object colorMap(uint32_t band) const;
    std::string category() const { return image_->getImageCategory(); }
    std::string representation() const { return image_->getImageRepresentation(); }

    // The image at pyramid level `level` (0: this image's full resolution).
    PyImage atLevel(uint32_t level) const;

    // Samples of `window` (x, y, width, height; the whole image by default) of `bands` (all
    // by default) at pyramid level `level`, resampled to `size` (width, height) when given:
    // an array of shape (bands, height, width) of the image's sample type.
    pybind11::array read(const std::optional<Window>& window,
                         const std::optional<std::vector<uint32_t>>& bands,
                         std::optional<uint32_t> level, const std::optional<Size>& size) const;

    pybind11::dict histogram(uint32_t band, uint32_t step) const;
    pybind11::object path(const std::string& path) const;
    PySensor sensor(const std::string& model) const;
    std::string repr() const;

private:
    std::shared_ptr<OpenedFile> opened_;
    std::shared_ptr<Tessel::NITFImage> base_;   // the segment at full resolution
    std::shared_ptr<Tessel::NITFImage> image_;  // the level this object stands for
    size_t index_;
    uint32_t level_;
};

}  // namespace tessel_python
