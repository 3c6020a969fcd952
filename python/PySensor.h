#pragma once
// tessel.Sensor: a sensor model of an image (rational polynomials, replacement sensor model
// or image corners), ground to image and back, vectorised over numpy arrays.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <memory>
#include <string>

#include "PyFile.h"

namespace VEXASensors {
class RasterGM;
}

namespace tessel_python {

class PySensor {
public:
    // `model` is "RPC00B", "RPC00A" or a model name of the library ("VEXA_RPC_B",
    // "VEXA_RPC_A", "VEXA_RSM_POLY", "VEXA_4C_BLOCKA", "VEXA_4C_CSCRNA", "VEXA_4C_IGEOLO").
    // Empty takes the first that the image's own support data gives, in that order. The
    // models are read from this image, never from another image of the file.
    PySensor(std::shared_ptr<OpenedFile> opened, const std::string& model);

    std::string name() const;
    // (line, sample) of ground points in degrees and metres above the ellipsoid.
    pybind11::object toImage(const pybind11::object& lat, const pybind11::object& lon,
                             const pybind11::object& height) const;
    // (lat, lon) of image points at a height above the ellipsoid.
    pybind11::object toGround(const pybind11::object& line, const pybind11::object& sample,
                              const pybind11::object& height) const;

private:
    std::shared_ptr<OpenedFile> opened_;
    std::shared_ptr<VEXASensors::RasterGM> model_;
};

}  // namespace tessel_python
