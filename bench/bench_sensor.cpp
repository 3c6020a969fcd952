// Points per second of the rational polynomial model on one core: ground to image and image to
// ground, in degrees, over the record of bench/rpc_bench_record.json. bench/gdal_sensor.py times
// GDAL's RPC transformer on the same record and points. Beside it the replacement sensor model
// in polynomial form, over a synthetic 2 x 2 section model whose four polynomials hold 80 terms
// in all (numerators 32 terms each with powers 3, 3, 1; denominators 8 with powers 1, 1, 1),
// the same count as an RPC record's 4 x 20.

#include <benchmark/benchmark.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "tessel/sensors/RPC00Model.h"
#include "tessel/sensors/RSMPolyModel.h"

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

// --- Replacement sensor model ----------------------------------------------------------

constexpr int kRsmRows = 2000, kRsmCols = 2000;
constexpr double kRsmLat = 42.4, kRsmLon = 20.0, kRsmExtent = 0.2;  // degrees

// Every coefficient non-zero, so that each of the 80 terms counts: the leading terms map
// the section's normalised ground to its rows and columns, the rest are small.
std::vector<double> rsmCoefficients(int px, int py, int pz, int lead, double leadValue,
                                    double seed) {
    std::vector<double> c(static_cast<size_t>((px + 1) * (py + 1) * (pz + 1)));
    for (size_t n = 0; n < c.size(); ++n) {
        c[n] = 1e-4 * std::sin(seed + 1.7 * static_cast<double>(n));
    }
    c[static_cast<size_t>(lead)] = leadValue;
    return c;
}

std::unique_ptr<RSMPolyModel> rsmBenchModel() {
    const double d2r = 0.017453292519943295;
    RSMID id;
    id.IID = "BENCH";
    id.GRNDD = RSMGroundDomain::G;
    id.MAXR = kRsmRows - 1;
    id.MAXC = kRsmCols - 1;
    id.V1Z = id.V2Z = id.V3Z = id.V4Z = -500;
    id.V5Z = id.V6Z = id.V7Z = id.V8Z = 1500;
    RSMPIA index;
    index.R0 = kRsmLat * d2r * kRsmRows / (kRsmExtent * d2r);
    index.RY = -kRsmRows / (kRsmExtent * d2r);
    index.C0 = -kRsmLon * d2r * kRsmCols / (kRsmExtent * d2r);
    index.CX = kRsmCols / (kRsmExtent * d2r);
    index.RNIS = index.CNIS = 2;
    index.RSSIZ = kRsmRows / 2.0;
    index.CSSIZ = kRsmCols / 2.0;
    std::vector<RSMPCA> sections;
    for (int n = 0; n < 4; ++n) {
        const int r = n / 2, c = n % 2;
        RSMPCA s;
        s.RNRMO = (r + 0.5) * kRsmRows / 2.0;
        s.CNRMO = (c + 0.5) * kRsmCols / 2.0;
        s.RNRMSF = kRsmRows / 4.0;
        s.CNRMSF = kRsmCols / 4.0;
        s.XNRMO = (kRsmLon + kRsmExtent * (c + 0.5) / 2.0) * d2r;
        s.YNRMO = (kRsmLat - kRsmExtent * (r + 0.5) / 2.0) * d2r;
        s.ZNRMO = 500;
        s.XNRMSF = s.YNRMSF = kRsmExtent / 4.0 * d2r;
        s.ZNRMSF = 1000;
        s.RNPWRX = s.RNPWRY = 3, s.RNPWRZ = 1, s.RNTRMS = 32;
        s.RNPCF = rsmCoefficients(3, 3, 1, 4, -1.0, n);  // y
        s.CNPWRX = s.CNPWRY = 3, s.CNPWRZ = 1, s.CNTRMS = 32;
        s.CNPCF = rsmCoefficients(3, 3, 1, 1, 1.0, n + 0.5);  // x
        s.RDPWRX = s.RDPWRY = s.RDPWRZ = 1, s.RDTRMS = 8;
        s.RDPCF = rsmCoefficients(1, 1, 1, 0, 1.0, n + 0.25);
        s.CDPWRX = s.CDPWRY = s.CDPWRZ = 1, s.CDTRMS = 8;
        s.CDPCF = rsmCoefficients(1, 1, 1, 0, 1.0, n + 0.75);
        sections.push_back(std::move(s));
    }
    return std::make_unique<RSMPolyModel>(std::move(id), std::move(index), std::move(sections),
                                          RasterGM::PropertyMap{});
}

const std::vector<double>& rsmHeights() {
    static const std::vector<double> heights = {0.0, 500.0, 1000.0};
    return heights;
}

void BM_RsmPolyGroundToImage(benchmark::State& state) {
    const auto model = rsmBenchModel();
    std::vector<LLHCoord> points;
    for (const double h : rsmHeights()) {
        for (int j = 0; j < kGrid; ++j) {
            for (int i = 0; i < kGrid; ++i) {
                points.emplace_back(kRsmLat - kRsmExtent * (0.05 + 0.9 * (j + 0.5) / kGrid),
                                    kRsmLon + kRsmExtent * (0.05 + 0.9 * (i + 0.5) / kGrid), h);
            }
        }
    }
    for (auto _ : state) {
        for (const LLHCoord& p : points) {
            benchmark::DoNotOptimize(model->groundToImage_llh(p, 0.001, nullptr, nullptr));
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(points.size()));
}
BENCHMARK(BM_RsmPolyGroundToImage)->Unit(benchmark::kMillisecond);

void BM_RsmPolyImageToGround(benchmark::State& state) {
    const auto model = rsmBenchModel();
    std::vector<ImagePoint> points;
    for (const double h : rsmHeights()) {
        for (int j = 0; j < kGrid; ++j) {
            for (int i = 0; i < kGrid; ++i) {
                points.push_back({ImageCoord((j + 0.5) * kRsmRows / kGrid - 0.5,
                                             (i + 0.5) * kRsmCols / kGrid - 0.5),
                                  h});
            }
        }
    }
    const double precision = state.range(0) == 0 ? 0.001 : 0.1;
    for (auto _ : state) {
        for (const ImagePoint& p : points) {
            benchmark::DoNotOptimize(
                model->imageToGround_llh(p.image, p.height, precision, nullptr, nullptr));
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(points.size()));
}
BENCHMARK(BM_RsmPolyImageToGround)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
