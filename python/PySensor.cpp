#include "PySensor.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "PyErrors.h"
#include "tessel/sensors/BLOCKAModel.h"
#include "tessel/sensors/CSCRNAModel.h"
#include "tessel/sensors/Coordinates.h"
#include "tessel/sensors/IGEOLOModel.h"
#include "tessel/sensors/RPC00Model.h"
#include "tessel/sensors/RSMModel.h"
#include "tessel/sensors/RSMPolyModel.h"

namespace py = pybind11;

namespace tessel_python {
namespace {

using FailSink = std::function<void(const std::string&)>;
using ModelMaker = std::function<std::unique_ptr<VEXASensors::RasterGM>(
    const Tessel::NITFFileContext&, const FailSink&)>;

struct NamedMaker {
    const std::string* name;
    ModelMaker make;
};

// The models of the library by name, in the order an empty name tries them: rational
// polynomials first (RPC00B before RPC00A), then the replacement sensor model, then the
// corners of BLOCKA, CSCRNA and the subheader.
const std::vector<NamedMaker>& modelMakers() {
    using namespace VEXASensors;
    static const std::vector<NamedMaker> makers = {
        {&RPC_B_MODEL_NAME,
         [](const auto& file, const auto& fail) {
             return RPC00Model::fromFile(file, RPC_B_MODEL_NAME, fail);
         }},
        {&RPC_A_MODEL_NAME,
         [](const auto& file, const auto& fail) {
             return RPC00Model::fromFile(file, RPC_A_MODEL_NAME, fail);
         }},
        {&RSM_POLY_MODEL_NAME,
         [](const auto& file, const auto& fail) { return RSMPolyModel::fromFile(file, fail); }},
        {&BLOCKA_MODEL_NAME,
         [](const auto& file, const auto& fail) {
             return BLOCKAModel::fromFile(file, BLOCKA_MODEL_NAME, fail);
         }},
        {&CSCRNA_MODEL_NAME,
         [](const auto& file, const auto& fail) {
             return CSCRNAModel::fromFile(file, CSCRNA_MODEL_NAME, fail);
         }},
        {&IGEOLO_MODEL_NAME,
         [](const auto& file, const auto& fail) {
             return IGEOLOModel::fromFile(file, IGEOLO_MODEL_NAME, fail);
         }},
    };
    return makers;
}

std::string libraryNameOf(const std::string& model) {
    if (model == "RPC00B") {
        return VEXASensors::RPC_B_MODEL_NAME;
    }
    if (model == "RPC00A") {
        return VEXASensors::RPC_A_MODEL_NAME;
    }
    return model;
}

// The model `maker` builds for the image, or null with the reasons appended to `failure`.
std::unique_ptr<VEXASensors::RasterGM> tryMaker(const NamedMaker& maker,
                                                const Tessel::NITFFileContext& context,
                                                std::string& failure) {
    const FailSink collect = [&failure](const std::string& message) {
        failure += (failure.empty() ? "" : "; ") + message;
    };
    try {
        return maker.make(context, collect);
    } catch (const std::exception& error) {
        collect(error.what());
    }
    return nullptr;
}

std::unique_ptr<VEXASensors::RasterGM> makeModel(const std::string& model,
                                                 const Tessel::NITFFileContext& context) {
    const std::string name = libraryNameOf(model);
    const auto& makers = modelMakers();
    if (name.empty()) {
        for (const NamedMaker& maker : makers) {
            std::string ignored;
            if (auto made = tryMaker(maker, context, ignored)) {
                return made;
            }
        }
        throw TesselError(
            "no sensor model for this image: it has no RPC00B, RPC00A, RSMPCA, BLOCKA or CSCRNA "
            "TRE, nor usable corners (IGEOLO)");
    }
    const auto found = std::find_if(makers.begin(), makers.end(),
                                    [&](const NamedMaker& maker) { return *maker.name == name; });
    if (found == makers.end()) {
        throw TesselError("no sensor model " + name +
                          " (RPC00B, RPC00A, VEXA_RPC_B, VEXA_RPC_A, VEXA_RSM_POLY, "
                          "VEXA_4C_BLOCKA, VEXA_4C_CSCRNA, VEXA_4C_IGEOLO)");
    }
    std::string failure;
    auto made = tryMaker(*found, context, failure);
    if (!made) {
        throw TesselError(failure.empty() ? "no sensor model " + name : failure);
    }
    return made;
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
    : opened_(std::move(opened)), model_(makeModel(model, opened_->context)) {}

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
