// Points per second of the rational polynomial model on one core: ground to image and image to
// ground, in degrees, over the record of bench/rpc_bench_record.json. bench/gdal_sensor.py times
// GDAL's RPC transformer on the same record and points.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "tessel/sensors/RPC00Model.h"

namespace {

using namespace VEXASensors;

constexpr int kGrid = 100;  // points per side of the grids

const nlohmann::json& benchRecord() {
    static const nlohmann::json document = [] {
        std::ifstream in(std::filesystem::path(TESSEL_BENCH_DIR) / "rpc_bench_record.json");
        return nlohmann::json::parse(in);
    }();
    return document;
}

std::unique_ptr<RPC00Model> benchModel() {
    return RPC00Model::fromDocument(benchRecord(), RPC_B_MODEL_NAME, nullptr);
}

// A grid over 90 % of the record's ground extent at three heights.
std::vector<LLHCoord> groundPoints(const RPC00& r) {
    std::vector<LLHCoord> points;
    for (const double h :
         {r.HEIGHT_OFF - r.HEIGHT_SCALE / 2, r.HEIGHT_OFF, r.HEIGHT_OFF + r.HEIGHT_SCALE / 2}) {
        for (int j = 0; j < kGrid; ++j) {
            for (int i = 0; i < kGrid; ++i) {
                points.emplace_back(r.LAT_OFF + r.LAT_SCALE * 0.9 * (2.0 * (j + 0.5) / kGrid - 1),
                                    r.LONG_OFF + r.LONG_SCALE * 0.9 * (2.0 * (i + 0.5) / kGrid - 1),
                                    h);
            }
        }
    }
    return points;
}

// A grid over the image (pixel centres of the model's convention) at the same heights.
struct ImagePoint {
    ImageCoord image;
    double height;
};
std::vector<ImagePoint> imagePoints(const RPC00& r) {
    std::vector<ImagePoint> points;
    const double lines = 2 * r.LINE_SCALE;
    const double samples = 2 * r.SAMP_SCALE;
    for (const double h :
         {r.HEIGHT_OFF - r.HEIGHT_SCALE / 2, r.HEIGHT_OFF, r.HEIGHT_OFF + r.HEIGHT_SCALE / 2}) {
        for (int j = 0; j < kGrid; ++j) {
            for (int i = 0; i < kGrid; ++i) {
                points.push_back(
                    {ImageCoord((j + 0.5) * lines / kGrid - 0.5, (i + 0.5) * samples / kGrid - 0.5),
                     h});
            }
        }
    }
    return points;
}

void BM_RpcGroundToImage(benchmark::State& state) {
    const auto model = benchModel();
    const auto points = groundPoints(model->record());
    for (auto _ : state) {
        for (const LLHCoord& p : points) {
            benchmark::DoNotOptimize(model->groundToImage_llh(p, 0.001, nullptr, nullptr));
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(points.size()));
}
BENCHMARK(BM_RpcGroundToImage)->Unit(benchmark::kMillisecond);

// The desired precision is in pixels: 0.001 is the CSM default, 0.1 GDAL's default threshold.
void BM_RpcImageToGround(benchmark::State& state) {
    const auto model = benchModel();
    const auto points = imagePoints(model->record());
    const double precision = state.range(0) == 0 ? 0.001 : 0.1;
    for (auto _ : state) {
        for (const ImagePoint& p : points) {
            benchmark::DoNotOptimize(
                model->imageToGround_llh(p.image, p.height, precision, nullptr, nullptr));
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(points.size()));
}
BENCHMARK(BM_RpcImageToGround)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
