// The RPC model against GDAL's RPC transformer on every shared file that carries an RPC00A
// or RPC00B TRE: ground to image on a grid over each image at three heights, and image to
// ground where both inversions converge.

#include <gtest/gtest.h>

#include <fmt/format.h>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include <unistd.h>

#include "platform/nitf/nitf_test_files.h"
#include "support/GdalOracle.h"
#include "support/TestPaths.h"
#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/core/Options.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/sensors/RPC00Model.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using namespace VEXASensors;

constexpr int kGridSteps = 100;
constexpr double kPixelTolerance = 1e-6;
constexpr double kDegreeTolerance = 1e-7;

struct RpcFile {
    fs::path path;
    std::string treName;
};

std::string treOf(const fs::path& path) {
    Tessel::NITFMessages messages;
    const Tessel::NITFFileContext file =
        Tessel::NITFFactory::get().open(Tessel::NITFURI(std::string_view(path.string())), messages);
    for (const char* tre : {"RPC00B", "RPC00A"}) {
        if (!file.getPathString(std::string("/TRE/") + tre + "/_exists", "").empty()) {
            return tre;
        }
    }
    return "";
}

// Fixtures found by reading each one; corpus files by the TREs that the manifest lists.
std::vector<RpcFile> findRpcFiles() {
    std::vector<RpcFile> files;
    for (const auto& fixture : tessel_test::fixtureFiles()) {
        if (fixture.extension() != ".ntf" && fixture.extension() != ".nitf" &&
            fixture.extension() != ".nsf") {
            continue;
        }
        if (const std::string tre = treOf(fixture); !tre.empty()) {
            files.push_back({fixture, tre});
        }
    }
    const fs::path corpus = fs::path(TESSEL_SHARED_DIR) / "corpus";
    if (fs::exists(corpus / "MANIFEST.tsv")) {
        for (auto& row : nitf_test::readTable(corpus / "MANIFEST.tsv")) {
            const std::string& tres = row["tres"];
            if (tres.find("RPC00A") != std::string::npos ||
                tres.find("RPC00B") != std::string::npos) {
                files.push_back(
                    {corpus / row["relative_path"], treOf(corpus / row["relative_path"])});
            }
        }
    }
    return files;
}

const std::vector<RpcFile>& rpcFiles() {
    static const std::vector<RpcFile> files = findRpcFiles();
    return files;
}

// GDAL's points of one file: image grid rows [pixel, line, height, lon, lat, inverse_ok,
// pixel_back, line_back, forward_ok] and ground grid rows [lon, lat, height, pixel, line,
// ok], NaN for a failed value. Read as raw doubles, and kept for the other tests of the run.
struct GdalPoints {
    std::vector<std::array<double, 9>> points;
    std::vector<std::array<double, 6>> ground;
};

template <size_t N>
std::vector<std::array<double, N>> readRows(const fs::path& path, size_t rows) {
    std::vector<std::array<double, N>> out(rows);
    std::ifstream in(path, std::ios::binary);
    in.read(reinterpret_cast<char*>(out.data()),
            static_cast<std::streamsize>(rows * N * sizeof(double)));
    if (!in) {
        out.clear();
    }
    return out;
}

const GdalPoints& gdalPoints(const fs::path& file) {
    static std::map<std::string, GdalPoints> cache;
    if (const auto it = cache.find(file.string()); it != cache.end()) {
        return it->second;
    }
    const fs::path stem =
        fs::temp_directory_path() /
        ("tessel_rpc_points_" + std::to_string(::getpid()) + "_" + std::to_string(cache.size()));
    const json summary =
        tessel_test::jsonFromCommand(std::string("/usr/bin/python3 '") + TESSEL_SOURCE_DIR +
                                     "/tests/sensors/gdal_rpc_points.py' '" + file.string() + "' " +
                                     std::to_string(kGridSteps) + " '" + stem.string() + "'");
    GdalPoints points;
    if (summary.is_object() && summary.contains("point_rows")) {
        points.points = readRows<9>(stem.string() + ".points", summary["point_rows"]);
        points.ground = readRows<6>(stem.string() + ".ground", summary["ground_rows"]);
    }
    std::error_code ec;
    fs::remove(stem.string() + ".points", ec);
    fs::remove(stem.string() + ".ground", ec);
    return cache.emplace(file.string(), std::move(points)).first->second;
}

std::unique_ptr<RPC00Model> modelOf(const RpcFile& file) {
    Tessel::NITFMessages messages;
    const Tessel::NITFFileContext context = Tessel::NITFFactory::get().open(
        Tessel::NITFURI(std::string_view(file.path.string())), messages);
    std::vector<std::string> failures;
    auto model = RPC00Model::fromFile(
        context, file.treName == "RPC00A" ? RPC_A_MODEL_NAME : RPC_B_MODEL_NAME,
        [&](const std::string& text) { failures.push_back(text); });
    EXPECT_TRUE(model) << file.path << ": " << (failures.empty() ? "" : failures.front());
    return model;
}

struct Counts {
    size_t forward = 0;
    size_t inverse = 0;
    size_t gdalNotConverged = 0;
    size_t oursNotConverged = 0;
    size_t mismatches = 0;
};

// `shift` is what GDAL's image coordinates exceed the model's by.
Counts compare(const RPC00Model& model, const GdalPoints& gdal, double shift,
               const std::string& name) {
    Counts counts;
    // Every difference counts; the first few are shown.
    const auto check = [&](bool agrees, const char* what, double u, double v) {
        if (!agrees && ++counts.mismatches <= 5) {
            ADD_FAILURE() << name << ": " << what << " differs from GDAL at " << u << ", " << v;
        }
    };
    const auto checkForward = [&](double lon, double lat, double h, double px, double ln) {
        const ImageCoord ours =
            model.groundToImage_llh(LLHCoord(lat, lon, h), 0.001, nullptr, nullptr);
        check(std::fabs(ours.samp + shift - px) <= kPixelTolerance &&
                  std::fabs(ours.line + shift - ln) <= kPixelTolerance,
              "ground to image", lat, lon);
        ++counts.forward;
    };
    for (const auto& p : gdal.points) {
        const double px = p[0], ln = p[1], h = p[2];
        if (p[5] != 0.0 && std::isfinite(p[3]) && std::isfinite(p[4])) {
            const double lon = p[3], lat = p[4];
            if (p[8] != 0.0 && std::isfinite(p[6]) && std::isfinite(p[7])) {
                checkForward(lon, lat, h, p[6], p[7]);
            }
            csm::WarningList warnings;
            const LLHCoord ours = model.imageToGround_llh(ImageCoord(ln - shift, px - shift), h,
                                                          1e-9, nullptr, &warnings);
            if (warnings.empty()) {
                check(std::fabs(ours.lat - lat) <= kDegreeTolerance &&
                          std::fabs(ours.lon - lon) <= kDegreeTolerance,
                      "image to ground", ln, px);
                ++counts.inverse;
            } else {
                ++counts.oursNotConverged;
            }
        } else {
            ++counts.gdalNotConverged;
        }
    }
    for (const auto& p : gdal.ground) {
        if (p[5] != 0.0 && std::isfinite(p[3]) && std::isfinite(p[4])) {
            checkForward(p[0], p[1], p[2], p[3], p[4]);
        }
    }
    return counts;
}

TEST(RPC00ModelGdal, GroundAndImageAgreeWithGdalOnEverySharedRpcFile) {
    if (!fs::exists(TESSEL_SHARED_DIR)) {
        GTEST_SKIP() << "no shared folder";
    }
    if (!tessel_test::gdalAvailable()) {
        GTEST_SKIP() << "GDAL's Python bindings are missing";
    }
    const auto files = rpcFiles();
    ASSERT_FALSE(files.empty());
    size_t agreeing = 0;
    for (const auto& file : files) {
        const GdalPoints& gdal = gdalPoints(file.path);
        ASSERT_FALSE(gdal.points.empty()) << file.path;
        const auto model = modelOf(file);
        ASSERT_TRUE(model);
        const Counts counts = compare(*model, gdal, 0.5, file.path.filename().string());
        std::cout << file.path.filename() << " " << file.treName << ": " << counts.forward
                  << " ground-to-image points, " << counts.inverse << " image-to-ground points, "
                  << counts.mismatches << " beyond tolerance; not converged: GDAL "
                  << counts.gdalNotConverged << ", ours " << counts.oursNotConverged << "\n";
        EXPECT_GT(counts.forward, 0u);
        if (counts.mismatches == 0 && counts.forward > 0) {
            ++agreeing;
        }
    }
    std::cout << agreeing << " of " << files.size() << " RPC files agree with GDAL\n";
    EXPECT_EQ(agreeing, files.size());
}

TEST(RPC00ModelGdal, HalfPixelOffsetMatchesGdalsPixelCentres) {
    if (!fs::exists(TESSEL_SHARED_DIR) || !tessel_test::gdalAvailable()) {
        GTEST_SKIP() << "no shared folder or no GDAL";
    }
    Tessel::s_opt_vexa_rpc_pixel_offset.override_value(0.5);
    const auto files = rpcFiles();
    ASSERT_FALSE(files.empty());
    for (const auto& file : files) {
        const auto model = modelOf(file);
        ASSERT_TRUE(model);
        const GdalPoints& gdal = gdalPoints(file.path);
        ASSERT_FALSE(gdal.points.empty()) << file.path;
        const Counts counts = compare(*model, gdal, 0.0, file.path.string());
        EXPECT_GT(counts.forward, 0u);
        EXPECT_EQ(counts.mismatches, 0u);
    }
    Tessel::s_opt_vexa_rpc_pixel_offset.reset();
}

// Files that GDAL writes here and now, with records of other places, offsets, scales and
// coefficients, in both term orders: the same agreement, at both pixel conventions.
TEST(RPC00ModelGdal, GroundAndImageAgreeWithGdalOnGeneratedRpcFiles) {
    if (!tessel_test::gdalAvailable()) {
        GTEST_SKIP() << "GDAL's Python bindings are missing";
    }
    const fs::path folder =
        fs::temp_directory_path() / ("tessel_rpc_generated_" + std::to_string(::getpid()));
    const json made =
        tessel_test::jsonFromCommand(std::string("/usr/bin/python3 '") + TESSEL_SOURCE_DIR +
                                     "/tests/sensors/make_rpc_files.py' '" + folder.string() + "'");
    ASSERT_TRUE(made.is_object() && made.contains("files")) << made.dump();
    ASSERT_GE(made["files"].size(), 6u);
    // The generator's files are the ones listed; twins only stand in for GDAL's side.
    size_t agreeing = 0;
    size_t recordsA = 0;
    for (const auto& entry : made["files"]) {
        const RpcFile file{entry["path"].get<std::string>(), entry["tre"].get<std::string>()};
        ASSERT_EQ(treOf(file.path), file.treName) << file.path;
        recordsA += file.treName == "RPC00A" ? 1 : 0;
        // An RPC00A record is judged by GDAL's reading of its RPC00B twin.
        const GdalPoints& gdal = gdalPoints(entry["oracle"].get<std::string>());
        ASSERT_FALSE(gdal.points.empty()) << file.path;
        size_t mismatches = 0;
        for (const double offset : {0.0, 0.5}) {
            Tessel::s_opt_vexa_rpc_pixel_offset.override_value(offset);
            const auto model = modelOf(file);
            ASSERT_TRUE(model);
            const Counts counts =
                compare(*model, gdal, 0.5 - offset, file.path.filename().string());
            std::cout << file.path.filename() << " " << file.treName << " offset " << offset << ": "
                      << counts.forward << " ground-to-image points, " << counts.inverse
                      << " image-to-ground points, " << counts.mismatches
                      << " beyond tolerance; not converged: GDAL " << counts.gdalNotConverged
                      << ", ours " << counts.oursNotConverged << "\n";
            EXPECT_GE(counts.forward, 3u * kGridSteps * kGridSteps);
            EXPECT_GT(counts.inverse, 0u);
            mismatches += counts.mismatches;
        }
        Tessel::s_opt_vexa_rpc_pixel_offset.reset();
        agreeing += mismatches == 0 ? 1 : 0;
    }
    std::cout << agreeing << " of " << made["files"].size()
              << " generated RPC files agree with GDAL\n";
    EXPECT_EQ(agreeing, made["files"].size());
    EXPECT_GE(recordsA, 2u);
    std::error_code ec;
    fs::remove_all(folder, ec);
}

TEST(RPC00ModelGdal, FileModelReadsHeaderAndRecord) {
    const fs::path fixture = fs::path(TESSEL_SHARED_DIR) / "fixtures" / "tre_rpc00b.ntf";
    if (!fs::exists(fixture)) {
        GTEST_SKIP() << "no shared folder";
    }
    const auto model = modelOf({fixture, "RPC00B"});
    ASSERT_TRUE(model);
    EXPECT_EQ(model->getModelName(), "VEXA_RPC_B");
    EXPECT_EQ(model->getReferenceDateAndTime(), "20021216151629");
    EXPECT_EQ(model->record().LAT_OFF, 42.3);
    EXPECT_EQ(model->record().ERR_BIAS, 1.5);
    EXPECT_EQ(model->record().SAMP_NUM_COEFF[1], 1.0);
    const std::string state = model->getModelState();
    EXPECT_NE(state.find("\"NROWS\":48,\"NCOLS\":64"), std::string::npos) << state;
    // The file has no RPC00A.
    std::vector<std::string> failures;
    Tessel::NITFMessages messages;
    const Tessel::NITFFileContext context = Tessel::NITFFactory::get().open(
        Tessel::NITFURI(std::string_view(fixture.string())), messages);
    EXPECT_FALSE(RPC00Model::fromFile(context, RPC_A_MODEL_NAME,
                                      [&](const std::string& text) { failures.push_back(text); }));
    ASSERT_FALSE(failures.empty());
    EXPECT_EQ(failures.back(), "Could not find a RPC00A TRE");
}

}  // namespace

namespace {

// The fixture with its RPC00B cut to `kept` bytes of data, the lengths of the TRE, the
// subheader's extension area, the subheader and the file made to agree with the cut.
std::string cutRpcFixture(const fs::path& fixture, size_t kept) {
    std::ifstream in(fixture, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const size_t removed = 1041 - kept;
    const auto replace = [&](const std::string& from, const std::string& to) {
        const size_t at = bytes.find(from);
        if (at == std::string::npos) {
            return false;
        }
        bytes.replace(at, from.size(), to);
        return true;
    };
    const size_t tre = bytes.find("RPC00B01041");
    if (tre == std::string::npos ||
        !replace("000000004970000404001001494",
                 fmt::format("{:012}000404001{:06}", 4970 - removed, 1494 - removed)) ||
        !replace("01055000RPC00B01041", fmt::format("{:05}000RPC00B{:05}", 1055 - removed, kept))) {
        return {};
    }
    bytes.erase(tre + 11 + kept, removed);
    return bytes;
}

TEST(RPC00ModelFile, TreCutShortGivesNoModelAndNoCrash) {
    const fs::path fixture = fs::path(TESSEL_SHARED_DIR) / "fixtures" / "tre_rpc00b.ntf";
    if (!fs::exists(fixture)) {
        GTEST_SKIP() << "no shared folder";
    }
    const fs::path folder = fs::temp_directory_path() / "tessel_rpc_cut";
    fs::create_directories(folder);
    for (size_t kept : {0u, 1u, 80u, 540u, 1000u}) {
        const std::string bytes = cutRpcFixture(fixture, kept);
        ASSERT_FALSE(bytes.empty());
        const fs::path file = folder / fmt::format("cut_{}.ntf", kept);
        std::ofstream(file, std::ios::binary) << bytes;
        Tessel::NITFMessages messages;
        const Tessel::NITFFileContext context = Tessel::NITFFactory::get().open(
            Tessel::NITFURI(std::string_view(file.string())), messages);
        std::vector<std::string> failures;
        const auto model = RPC00Model::fromFile(
            context, RPC_B_MODEL_NAME, [&](const std::string& text) { failures.push_back(text); });
        EXPECT_FALSE(model) << kept;
        ASSERT_FALSE(failures.empty()) << kept;
        const std::string& last = failures.back();
        EXPECT_TRUE(last == "Could not find a RPC00B TRE" ||
                    last.find("' not found") != std::string::npos ||
                    last.find("is not a number") != std::string::npos)
            << kept << ": " << last;
        std::cout << "RPC00B cut to " << kept << " bytes: " << last << "\n";
    }
    fs::remove_all(folder);
}

}  // namespace
