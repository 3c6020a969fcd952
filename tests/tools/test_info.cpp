#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "platform/nitf/nitf_test_files.h"
#include "platform/scoped_environment.h"
#include "support/FileTestSupport.h"
#include "support/RunTool.h"
#include "support/TempConfig.h"
#include "support/TestPaths.h"

using tessel_test::runTool;

namespace {

namespace fs = std::filesystem;

std::string quoted(const fs::path& path) {
    std::string out = "'";
    for (const char c : path.string()) {
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return out + "'";
}

struct ImageSize {
    long long rows;
    long long columns;
    long long bands;
};

std::vector<ImageSize> imagesOf(const nlohmann::json& info) {
    std::vector<ImageSize> sizes;
    for (const auto& image : info["images"]) {
        sizes.push_back({image["rows"].get<long long>(), image["columns"].get<long long>(),
                         image["bands"].get<long long>()});
    }
    return sizes;
}

// "#0: 18x35x2 PVTYPE=... | #1: ..." gives rows, columns and bands of each image.
std::vector<ImageSize> manifestImages(const std::string& detail) {
    std::vector<ImageSize> sizes;
    size_t at = 0;
    while ((at = detail.find(": ", detail.find('#', at))) != std::string::npos) {
        std::istringstream in(detail.substr(at + 2));
        ImageSize size{};
        char x = 0;
        in >> size.rows >> x >> size.columns >> x >> size.bands;
        sizes.push_back(size);
        at += 2;
    }
    return sizes;
}

// The manifest's lines end in CR LF: the last column's name may keep the CR.
std::string column(const nitf_test::Row& row, const std::string& name) {
    for (const auto& key : {name, name + "\r"}) {
        if (const auto found = row.find(key); found != row.end()) {
            return found->second;
        }
    }
    return {};
}

// GDAL opened the file as NITF (reading pixels may still have failed).
bool gdalOpensAsNitf(const nitf_test::Row& row) {
    const std::string& status = row.at("gdal_reads_ok");
    const std::string& count = row.at("n_images");
    return !count.empty() && count.find_first_not_of("0123456789") == std::string::npos &&
           status.rfind("n/a", 0) != 0 && status.rfind("no: open failed", 0) != 0 &&
           status.find("RPFTOC") == std::string::npos;
}

}  // namespace

TEST(TesselInfo, DescribesTheSampleAsJson) {
    const auto info = runTool("info " + quoted(TESSEL_SAMPLE_FILE) + " --json");
    ASSERT_EQ(info.status, 0);
    const auto json = nlohmann::json::parse(info.out);
    EXPECT_EQ(json["version"], "NITF-2.10");
    EXPECT_EQ(json["header"], "NITF02.10");
    EXPECT_EQ(json["segments"]["images"], 2);
    EXPECT_EQ(json["segments"]["texts"], 1);
    EXPECT_EQ(json["segments"]["data_extensions"], 1);
    EXPECT_EQ(json["segments"]["graphics"], 0);
    ASSERT_EQ(json["images"].size(), 2u);
    const auto& first = json["images"][0];
    EXPECT_EQ(first["rows"], 48);
    EXPECT_EQ(first["columns"], 64);
    EXPECT_EQ(first["bands"], 1);
    EXPECT_EQ(first["pixel_type"]["PVTYPE"], "INT");
    EXPECT_EQ(first["pixel_type"]["NBPP"], 8);
    EXPECT_EQ(first["pixel_type"]["ABPP"], 8);
    EXPECT_EQ(first["IMODE"], "B");
    EXPECT_EQ(first["IC"], "NC");
    EXPECT_EQ(first["blocking"]["NPPBH"], 32);
    EXPECT_EQ(first["blocking"]["NPPBV"], 24);
    EXPECT_EQ(first["blocking"]["NBPR"], 2);
    EXPECT_EQ(first["blocking"]["NBPC"], 2);
    EXPECT_EQ(json["images"][1]["bands"], 3);
    EXPECT_EQ(json["images"][1]["IMODE"], "P");
}

TEST(TesselInfo, TextFormNamesEveryField) {
    const auto info = runTool("info " + quoted(TESSEL_SAMPLE_FILE));
    ASSERT_EQ(info.status, 0);
    for (const char* text : {"NITF-2.10 (NITF02.10)", "images 2", "rows 48, columns 64, bands 1",
                             "PVTYPE INT, NBPP 8, ABPP 8", "IMODE    B", "IC       NC",
                             "NPPBH 32, NPPBV 24, NBPR 2, NBPC 2"}) {
        EXPECT_NE(info.out.find(text), std::string::npos) << text << "\n" << info.out;
    }
}

TEST(TesselInfo, ImageDetailsComeFromTheImageObjects) {
    const auto info = runTool("info " + quoted(TESSEL_SAMPLE_FILE) + " --json");
    ASSERT_EQ(info.status, 0);
    const auto json = nlohmann::json::parse(info.out);
    const auto& gradient = json["images"][0]["details"];
    EXPECT_EQ(gradient["width"], 64);
    EXPECT_EQ(gradient["height"], 48);
    EXPECT_EQ(gradient["bands"], 1);
    EXPECT_EQ(gradient["blocks"],
              nlohmann::json::parse(R"({"across": 2, "down": 2, "width": 32, "height": 24})"));
    EXPECT_EQ(gradient["samples"]["type"], "unsigned integer");
    EXPECT_EQ(gradient["samples"]["bits"], 8);
    EXPECT_EQ(gradient["samples"]["bytes"], 1);
    EXPECT_EQ(gradient["samples"]["actual_bits"], 8);
    EXPECT_EQ(gradient["compression"]["type"], "NC");
    EXPECT_TRUE(gradient["compression"]["info"].is_object());
    EXPECT_TRUE(gradient.contains("nodata"));
    EXPECT_EQ(gradient["color_interpretation"], "M");
    EXPECT_TRUE(gradient["color_maps"].empty());
    EXPECT_EQ(gradient["pyramid_levels"], 0);
    const auto& rgb = json["images"][1]["details"];
    EXPECT_EQ(rgb["bands"], 3);
    EXPECT_EQ(rgb["blocks"]["across"], 1);
    EXPECT_EQ(rgb["blocks"]["width"], 16);
    EXPECT_EQ(rgb["color_interpretation"], "R");
}

TEST(TesselInfo, TextFormShowsImageDetails) {
    const auto info = runTool("info " + quoted(TESSEL_SAMPLE_FILE));
    ASSERT_EQ(info.status, 0);
    for (const char* text :
         {"size     64 x 48, 1 band(s)", "grid     2 x 2 blocks of 32 x 24",
          "samples  unsigned integer, 8 bits (1 bytes), ABPP 8", "codec    NC", "colour   M",
          "maps     none", "levels   0", "size     16 x 16, 3 band(s)", "colour   R"}) {
        EXPECT_NE(info.out.find(text), std::string::npos) << text << "\n" << info.out;
    }
}

// A palette image shows its colour table; an overview file next to the file is a level.
TEST(TesselInfo, ColourMapsAndOverviewLevels) {
    const fs::path lut = fs::path(TESSEL_SHARED_DIR) / "fixtures" / "nc_lut256.ntf";
    if (!fs::exists(lut)) {
        GTEST_SKIP() << "no fixture " << lut;
    }
    file_test::TempDir dir;
    fs::copy_file(lut, dir / "lut.ntf");
    fs::copy_file(TESSEL_SAMPLE_FILE, dir / "lut.ntf.r1");
    const auto info = runTool("info " + quoted(dir / "lut.ntf") + " --json");
    ASSERT_EQ(info.status, 0);
    const auto details = nlohmann::json::parse(info.out)["images"][0]["details"];
    ASSERT_EQ(details["color_maps"].size(), 1u) << details.dump(1);
    EXPECT_EQ(details["color_maps"][0]["band"], 0);
    EXPECT_EQ(details["color_maps"][0]["kind"], "RGB");
    EXPECT_EQ(details["color_maps"][0]["entries"], 256);
    EXPECT_EQ(details["pyramid_levels"], 1);
    ASSERT_EQ(details["levels"].size(), 1u);
    EXPECT_EQ(details["levels"][0]["width"], 64);
    const auto text = runTool("info " + quoted(dir / "lut.ntf"));
    EXPECT_NE(text.out.find("maps     band 0: 256 RGB"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("levels   1 (1: 64 x 48)"), std::string::npos) << text.out;
}

TEST(TesselInfo, MissingFileFailsOnStandardError) {
    file_test::TempDir dir;
    const auto result = runTool("info " + quoted(dir / "missing.ntf") + " 2>&1 >/dev/null");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("No such file or directory"), std::string::npos) << result.out;
}

TEST(TesselInfo, NonNitfFilePrintsTheParseMessage) {
    file_test::TempDir dir;
    file_test::writeFile(dir / "words.ntf", "Only words here, and no NITF header at all.");
    const auto result = runTool("info " + quoted(dir / "words.ntf") + " 2>&1 >/dev/null");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("tessel info: /NITF Parse: "), std::string::npos) << result.out;
    const auto quiet = runTool("info " + quoted(dir / "words.ntf") + " 2>/dev/null");
    EXPECT_TRUE(quiet.out.empty());
}

TEST(TesselInfo, WarehouseLogsTheSettingsOfTheProcessKind) {
    tessel_test::TempConfig config(
        R"({"Preferences": {"tessel.warehouse.background_type_cache.size": 7,
                            "tessel.warehouse.interactive_file_cache.ttl": 0}})");
    tessel_test::ScopedEnvironment log("TESSEL_LOG", "info");
    const std::string command = "info " + quoted(TESSEL_SAMPLE_FILE) + " 2>&1 >/dev/null";
    {
        tessel_test::ScopedEnvironment kind("TESSEL_INTERACTIVE", std::nullopt);
        const auto result = runTool(command);
        EXPECT_EQ(result.status, 0);
        EXPECT_NE(result.out.find("NITF Warehouse Type Cache Size "
                                  "(tessel.warehouse.background_type_cache.size): 7 items"),
                  std::string::npos)
            << result.out;
        EXPECT_NE(result.out.find("NITF Warehouse File Cache Time To Live "
                                  "(tessel.warehouse.background_file_cache.ttl): 500000000ns"),
                  std::string::npos)
            << result.out;
        EXPECT_NE(result.out.find("NITF Subsystem Starting"), std::string::npos);
    }
    {
        tessel_test::ScopedEnvironment kind("TESSEL_INTERACTIVE", "1");
        const auto result = runTool(command);
        EXPECT_NE(result.out.find("NITF Warehouse Type Cache Size "
                                  "(tessel.warehouse.interactive_type_cache.size): 2000 items"),
                  std::string::npos)
            << result.out;
        // 0 takes the cache's default time to live.
        EXPECT_NE(result.out.find("NITF Warehouse File Cache Time To Live "
                                  "(tessel.warehouse.interactive_file_cache.ttl): 5000000000ns"),
                  std::string::npos)
            << result.out;
    }
}

// Every file of the corpus and the fixtures: the command ends by itself, with 0 or 1, and for
// the files that GDAL opens as NITF it finds the same images with the same sizes.
TEST(TesselInfo, EveryCorpusAndFixtureFileAgreesWithGdal) {
    const fs::path shared = TESSEL_SHARED_DIR;
    if (!fs::exists(shared / "corpus" / "MANIFEST.tsv") || !fs::exists(shared / "fixtures")) {
        GTEST_SKIP() << "no shared corpus at " << shared;
    }
    std::map<fs::path, nitf_test::Row> manifest;
    for (auto& row : nitf_test::readTable(shared / "corpus" / "MANIFEST.tsv")) {
        manifest[shared / "corpus" / row["relative_path"]] = row;
    }
    size_t files = 0;
    size_t compared = 0;
    size_t truncated = 0;
    for (const fs::path& folder : {shared / "corpus", shared / "fixtures"}) {
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            if (!entry.is_regular_file() || entry.path().extension() == ".json" ||
                entry.path().filename() == "MANIFEST.tsv" || entry.path().extension() == ".md") {
                continue;
            }
            ++files;
            const auto result = runTool("info " + quoted(entry.path()) + " --json 2>/dev/null");
            ASSERT_TRUE(result.status == 0 || result.status == 1)
                << entry.path() << " ended with " << result.status;
            std::vector<ImageSize> expected;
            bool known = false;
            if (const auto row = manifest.find(entry.path()); row != manifest.end()) {
                known = gdalOpensAsNitf(row->second);
                // GDAL reads subheaders when it needs them; the record layer reads all of
                // them at open, so a file cut short of a declared segment fails to parse.
                if (known && result.status == 1 &&
                    column(row->second, "anomalies").find("truncated") != std::string::npos) {
                    ++truncated;
                    continue;
                }
                if (known) {
                    expected = manifestImages(row->second.at("image_detail"));
                    EXPECT_EQ(expected.size(), std::stoul(row->second.at("n_images")))
                        << entry.path();
                }
            } else if (auto sidecar = fs::path(entry.path()).replace_extension(".json");
                       folder.filename() == "fixtures" && fs::exists(sidecar)) {
                std::ifstream in(sidecar);
                const auto gdal = nlohmann::json::parse(in);
                known = true;
                for (const auto& image : gdal["images"]) {
                    expected.push_back({image["size"][1].get<long long>(),
                                        image["size"][0].get<long long>(),
                                        image["band_count"].get<long long>()});
                }
            }
            if (!known) {
                continue;
            }
            ++compared;
            ASSERT_EQ(result.status, 0) << entry.path() << " opens in GDAL";
            const auto found = imagesOf(nlohmann::json::parse(result.out));
            ASSERT_EQ(found.size(), expected.size()) << entry.path();
            for (size_t i = 0; i < found.size(); ++i) {
                EXPECT_EQ(found[i].rows, expected[i].rows) << entry.path() << " image " << i;
                EXPECT_EQ(found[i].columns, expected[i].columns) << entry.path() << " image " << i;
                EXPECT_EQ(found[i].bands, expected[i].bands) << entry.path() << " image " << i;
            }
        }
    }
    EXPECT_GT(files, 300u);
    EXPECT_GT(compared, 200u);
    EXPECT_LE(truncated, 1u);
}
