// The IGEOLO model of every shared file whose first image has corner coordinates, against
// the corners GDAL's NITF driver derives from the same field (as GCPs, or as a geotransform
// at the corner pixels' centres): the model's first and last image positions of each side
// are those corners.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/nitf/nitf_test_files.h"
#include "support/GdalOracle.h"
#include "support/TestPaths.h"
#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/sensors/BLOCKAModel.h"
#include "tessel/sensors/IGEOLOModel.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using namespace VEXASensors;

Tessel::NITFFileContext openShared(const fs::path& path) {
    Tessel::NITFMessages messages;
    return Tessel::NITFFactory::get().open(Tessel::NITFURI(std::string_view(path.string())),
                                           messages);
}

std::string trimmedIcords(const Tessel::NITFFileContext& file) {
    std::string icords = file.getPathString("/Image/ICORDS", "");
    icords.erase(0, icords.find_first_not_of(' '));
    return icords;
}

// Every fixture and corpus file whose first image has a non-blank ICORDS, with it.
std::map<fs::path, std::string> filesWithCorners() {
    std::vector<fs::path> candidates = tessel_test::fixtureFiles();
    const fs::path corpus = fs::path(TESSEL_SHARED_DIR) / "corpus";
    if (fs::exists(corpus / "MANIFEST.tsv")) {
        for (auto& row : nitf_test::readTable(corpus / "MANIFEST.tsv")) {
            if (std::atoi(row["n_images"].c_str()) > 0) {
                candidates.push_back(corpus / row["relative_path"]);
            }
        }
    }
    std::map<fs::path, std::string> files;
    for (const auto& path : candidates) {
        const Tessel::NITFFileContext file = openShared(path);
        if (!file) {
            continue;
        }
        if (const std::string icords = trimmedIcords(file); !icords.empty()) {
            files[path] = icords;
        }
    }
    return files;
}

// Where the model puts the corner pixels' centres' ground positions: its corners stand at
// (0, 0), (0, NCOLS), (NROWS, NCOLS) and (NROWS, 0).
std::vector<LLHCoord> modelCorners(const FourCornerModel& model) {
    const csm::ImageVector size = model.getImageSize();
    return {model.imageToGround_llh(ImageCoord(0.0, 0.0), 0.0),
            model.imageToGround_llh(ImageCoord(0.0, size.samp), 0.0),
            model.imageToGround_llh(ImageCoord(size.line, size.samp), 0.0),
            model.imageToGround_llh(ImageCoord(size.line, 0.0), 0.0)};
}

bool listsTre(const json& theirs, const char* tre) {
    const json& tres = theirs["tres"];
    return tres.is_array() && std::find(tres.begin(), tres.end(), tre) != tres.end();
}

// GDAL keeps a geotransform only when it fits the four corners within a quarter of a pixel;
// GCPs stand as the corners are.
void expectCornersMatch(const FourCornerModel& model, const json& theirs, double degrees,
                        const std::string& where) {
    const std::vector<LLHCoord> ours = modelCorners(model);
    const bool exact = theirs["source"] == "gcps";
    for (size_t i = 0; i < 4; ++i) {
        const double lat = theirs["corners"][i][0].get<double>();
        const double lon = theirs["corners"][i][1].get<double>();
        if (exact) {
            EXPECT_NEAR(ours[i].lat, lat, degrees) << where << " corner " << i;
            EXPECT_NEAR(ours[i].lon, lon, degrees) << where << " corner " << i;
            continue;
        }
        const ImageCoord expected = model.groundToImage_llh(ours[i]);
        const ImageCoord got = model.groundToImage_llh(LLHCoord(lat, lon, 0.0));
        EXPECT_NEAR(got.line, expected.line, 0.25) << where << " corner " << i;
        EXPECT_NEAR(got.samp, expected.samp, 0.25) << where << " corner " << i;
    }
}

TEST(FourCornerAgainstGdal, CornersEqualGdalsForEveryIgeoloFormAndForBlocka) {
    if (!tessel_test::gdalAvailable()) {
        GTEST_SKIP() << "GDAL's Python bindings are not installed";
    }
    const std::map<fs::path, std::string> files = filesWithCorners();
    if (files.empty()) {
        GTEST_SKIP() << "no files with IGEOLO in " << TESSEL_SHARED_DIR;
    }
    std::string command = std::string("/usr/bin/python3 ") + TESSEL_SOURCE_DIR +
                          "/tests/sensors/gdal_corner_points.py";
    for (const auto& [path, icords] : files) {
        command += " '" + path.string() + "'";
    }
    const json gdal = tessel_test::jsonFromCommand(command);
    ASSERT_TRUE(gdal.is_object());
    std::map<std::string, int> compared;
    std::map<std::string, int> leftOut;
    for (const auto& [path, icords] : files) {
        const json& theirs = gdal[path.string()];
        if (!theirs.contains("corners")) {
            ++leftOut["not placed by GDAL: " + theirs.value("error", std::string())];
            continue;
        }
        if (listsTre(theirs, "RPFHDR") || listsTre(theirs, "GEOLOB")) {
            ++leftOut["placed by GDAL from the RPF tables or GEOLOB"];
            continue;
        }
        std::vector<std::string> failures;
        const auto sink = [&](const std::string& m) { failures.push_back(m); };
        const Tessel::NITFFileContext file = openShared(path);
        // GDAL takes BLOCKA's corners instead of IGEOLO when the record covers all the
        // image's lines.
        if (listsTre(theirs, "BLOCKA")) {
            const auto model = BLOCKAModel::fromFile(file, BLOCKA_MODEL_NAME, sink);
            if (!model) {
                ++leftOut["BLOCKA refused: " + (failures.empty() ? "" : failures.back())];
                continue;
            }
            if (model->record().L_LINES == model->getImageSize().line) {
                expectCornersMatch(*model, theirs, 1e-9, path.string());
                ++compared["BLOCKA"];
                continue;
            }
        }
        const auto model = IGEOLOModel::fromFile(file, IGEOLO_MODEL_NAME, sink);
        ASSERT_TRUE(model) << path << " (" << icords
                           << "): " << (failures.empty() ? "" : failures.front());
        // Degrees, minutes and seconds and decimal degrees are read alike by both; the grid
        // forms go through two projection libraries.
        const double degrees = icords == "G" || icords == "D" ? 1e-9 : 1e-8;
        expectCornersMatch(*model, theirs, degrees, path.string());
        ++compared["ICORDS " + icords + ", GDAL " + theirs["source"].get<std::string>()];
    }
    for (const auto& [what, count] : compared) {
        std::cout << "[ compared ] " << count << " file(s): " << what << "\n";
    }
    for (const auto& [reason, count] : leftOut) {
        std::cout << "[ left out ] " << count << " file(s): " << reason << "\n";
    }
    EXPECT_GE(compared.size(), 5u) << "the IGEOLO forms and BLOCKA of the shared files";
}

}  // namespace
