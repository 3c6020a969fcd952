#include "PySensor.h"

#include <functional>
#include <utility>

#include "PyErrors.h"
#include "tessel/sensors/Coordinates.h"
#include "tessel/sensors/RPC00Model.h"

namespace py = pybind11;

namespace tessel_python {
namespace {

std::string modelNameFor(const std::string& model, const Tessel::NITFFileContext& context) {
    if (model == "RPC00B") {
        return VEXASensors::RPC_B_MODEL_NAME;
    }
    if (model == "RPC00A") {
        return VEXASensors::RPC_A_MODEL_NAME;
    }
    if (!model.empty()) {
        return model;
    }
    if (context.getPathString("/TRE/RPC00A/_exists", "").empty() ||
        !context.getPathString("/TRE/RPC00B/_exists", "").empty()) {
        return VEXASensors::RPC_B_MODEL_NAME;
    }
    return VEXASensors::RPC_A_MODEL_NAME;
}

using PointFunction = std::function<std::pair<double, double>(double, double, double)>;

// Applies `compute` to the broadcast of three arrays (or numbers); numbers in give a pair of
// floats out, arrays a pair of arrays of the broadcast shape.
py::object applyBroadcast(const py::object& a, const py::object& b, const py::object& c,
                          const PointFunction& compute) {
    const py::module_ numpy = py::module_::import("numpy");
    const bool scalars = numpy.attr("ndim")(a).cast<int>() == 0 &&
                         numpy.attr("ndim")(b).cast<int>() == 0 &&
                         numpy.attr("ndim")(c).cast<int>() == 0;
    const py::tuple arrays = numpy.attr("broadcast_arrays")(numpy.attr("asarray")(a, "float64"),
                                                            numpy.attr("asarray")(b, "float64"),
                                                            numpy.attr("asarray")(c, "float64"));
    using Doubles = py::array_t<double, py::array::c_style | py::array::forcecast>;
    const Doubles first = Doubles::ensure(arrays[0]);
    const Doubles second = Doubles::ensure(arrays[1]);
    const Doubles third = Doubles::ensure(arrays[2]);
    std::vector<py::ssize_t> shape(first.shape(), first.shape() + first.ndim());
    Doubles outFirst(shape);
    Doubles outSecond(shape);
    const double* x = first.data();
    const double* y = second.data();
    const double* z = third.data();
    double* u = outFirst.mutable_data();
    double* v = outSecond.mutable_data();
    const auto count = static_cast<size_t>(first.size());
    {
        py::gil_scoped_release unlocked;
        for (size_t i = 0; i < count; ++i) {
            std::tie(u[i], v[i]) = compute(x[i], y[i], z[i]);
        }
    }
    if (scalars) {
        return py::make_tuple(u[0], v[0]);
    }
    return py::make_tuple(outFirst, outSecond);
}

}  // namespace

PySensor::PySensor(std::shared_ptr<OpenedFile> opened, const std::string& model)
    : opened_(std::move(opened)) {
    const std::string name = modelNameFor(model, opened_->context);
    std::string failure;
    const auto collect = [&failure](const std::string& message) {
        failure += (failure.empty() ? "" : "; ") + message;
    };
    std::unique_ptr<VEXASensors::RPC00Model> made;
    try {
        made = VEXASensors::RPC00Model::fromFile(opened_->context, name, collect);
    } catch (const std::exception& error) {
        collect(error.what());
    }
    if (!made) {
        throw TesselError(failure.empty() ? "no sensor model " + name : failure);
    }
    model_ = std::move(made);
}

std::string PySensor::name() const {
    return model_->getModelName();
}

py::object PySensor::toImage(const py::object& lat, const py::object& lon,
                             const py::object& height) const {
    const auto& model = *model_;
    return applyBroadcast(lat, lon, height, [&model](double a, double b, double h) {
        const auto point = model.groundToImage_llh(VEXASensors::LLHCoord(a, b, h));
        return std::pair<double, double>(point.line, point.samp);
    });
}

py::object PySensor::toGround(const py::object& line, const py::object& sample,
                              const py::object& height) const {
    const auto& model = *model_;
    return applyBroadcast(line, sample, height, [&model](double l, double s, double h) {
        const auto point = model.imageToGround_llh(VEXASensors::ImageCoord(l, s), h);
        return std::pair<double, double>(point.lat, point.lon);
    });
}

}  // namespace tessel_python
