#pragma once
// tessel.Sensor: the RPC sensor model of an image, ground to image and back, vectorised
// over numpy arrays.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <memory>
#include <string>

#include "PyFile.h"

namespace VEXASensors {
class RPC00Model;
}

namespace tessel_python {

class PySensor {
public:
    // `model` is "RPC00B", "RPC00A", a model name of the library, or empty for the RPC TRE
    // the image has (RPC00B before RPC00A).
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
    std::shared_ptr<VEXASensors::RPC00Model> model_;
};

}  // namespace tessel_python
