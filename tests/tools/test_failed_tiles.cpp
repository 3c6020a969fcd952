// `tessel read` and `tessel histogram` over images whose tiles can't all be decoded: the
// count and the reasons go to standard error, and the status is 3 unless
// --allow-failed-tiles is given.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "support/RunTool.h"
#include "support/TestPaths.h"

using tessel_test::runTool;

namespace {

namespace fs = std::filesystem;

std::string quotedPath(const fs::path& path) {
    std::string out = "'";
    for (const char c : path.string()) {
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return out + "'";
}

// 16 x 8 pixels in two 8 x 8 blocks of one 8-bit band.
image_test::ImageLayout twoBlocks(const std::string& ic, const std::string& data) {
    image_test::ImageLayout layout;
    layout.rows = 8;
    layout.cols = 16;
    layout.nbpr = 2;
    layout.nbpc = 1;
    layout.nppbh = 8;
    layout.nppbv = 8;
    layout.ic = ic;
    if (ic != "NC" && ic != "NM") {
        layout.comrat = "00.0";
    }
    layout.data = data;
    return layout;
}

// A masked image whose second block is absent from the block mask.
std::string secondBlockMissing() {
    using image_test::bigEndian;
    const std::string mask = bigEndian(18, 4) + bigEndian(4, 2) + bigEndian(0, 2) +
                             bigEndian(0, 2) + bigEndian(0, 4) + bigEndian(0xFFFFFFFF, 4);
    return mask + std::string(64, '\x40');
}

class FailedTilesTool : public ::testing::Test {
protected:
    fs::path write(const std::string& name, const image_test::ImageLayout& layout) {
        const fs::path path = dir_.path() / name;
        image_test::ImageFileBuilder().add(layout).write(path);
        return path;
    }
    tessel_test::ToolResult read(const fs::path& path, const std::string& extra = {}) {
        return runTool("read " + quotedPath(path) + " -o " + quotedPath(dir_.path() / "out.tif") +
                       " " + extra + " 2>&1");
    }
    tessel_test::ToolResult histogram(const fs::path& path, const std::string& extra = {}) {
        return runTool("histogram " + quotedPath(path) + " " + extra + " 2>&1");
    }
    file_test::TempDir dir_;
};

}  // namespace

TEST_F(FailedTilesTool, ReadOfAnImageWithoutDecoderSaysSoAndExitsThree) {
    const fs::path path = write("c1.ntf", twoBlocks("C1", std::string(32, '\x01')));
    const auto result = read(path);
    EXPECT_EQ(result.status, 3) << result.out;
    EXPECT_NE(result.out.find("2 of 2 tiles not decoded (2 no decoder for \"C1\")"),
              std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("--allow-failed-tiles"), std::string::npos) << result.out;
}

TEST_F(FailedTilesTool, AllowFailedTilesKeepsTheReportAndExitsZero) {
    const fs::path path = write("c1.ntf", twoBlocks("C1", std::string(32, '\x01')));
    const auto result = read(path, "--allow-failed-tiles");
    EXPECT_EQ(result.status, 0) << result.out;
    EXPECT_NE(result.out.find("2 of 2 tiles not decoded (2 no decoder for \"C1\")"),
              std::string::npos)
        << result.out;
    EXPECT_TRUE(fs::exists(dir_.path() / "out.tif"));
}

TEST_F(FailedTilesTool, ReadOfBlocksThatFailCountsDecodeErrors) {
    // Blocks of IMODE "R" are never decoded: every tile fails.
    image_test::ImageLayout layout = twoBlocks("NC", std::string(128, '\x07'));
    layout.imode = "R";
    const fs::path path = write("r.ntf", layout);
    const auto result = read(path);
    EXPECT_EQ(result.status, 3) << result.out;
    EXPECT_NE(result.out.find("2 of 2 tiles not decoded (2 decode error)"), std::string::npos)
        << result.out;
}

TEST_F(FailedTilesTool, ReadOfMaskedImageCountsTheMissingBlock) {
    const fs::path path = write("nm.ntf", twoBlocks("NM", secondBlockMissing()));
    const auto result = read(path);
    EXPECT_EQ(result.status, 3) << result.out;
    EXPECT_NE(result.out.find("1 of 2 tiles not decoded (1 block missing)"), std::string::npos)
        << result.out;
}

TEST_F(FailedTilesTool, ReadOfAWindowCountsOnlyItsTiles) {
    const fs::path path = write("nm.ntf", twoBlocks("NM", secondBlockMissing()));
    const auto result = read(path, "--window 0,0,8,8");
    EXPECT_EQ(result.status, 0) << result.out;
    EXPECT_EQ(result.out.find("not decoded"), std::string::npos) << result.out;
}

TEST_F(FailedTilesTool, ReadOfWholeImageExitsZeroAndSaysNothing) {
    const fs::path path = write("nc.ntf", twoBlocks("NC", std::string(128, '\x07')));
    const auto result = read(path);
    EXPECT_EQ(result.status, 0) << result.out;
    EXPECT_EQ(result.out.find("not decoded"), std::string::npos) << result.out;
}

TEST_F(FailedTilesTool, HistogramOfAnImageWithoutDecoderExitsThree) {
    const fs::path path = write("c1.ntf", twoBlocks("C1", std::string(32, '\x01')));
    const auto result = histogram(path);
    EXPECT_EQ(result.status, 3) << result.out;
    EXPECT_NE(result.out.find("tessel histogram: 2 of 2 tiles not decoded (2 no decoder for "
                              "\"C1\")"),
              std::string::npos)
        << result.out;
    EXPECT_EQ(histogram(path, "--allow-failed-tiles").status, 0);
}

TEST_F(FailedTilesTool, HistogramOfMaskedImageCountsTheMissingBlock) {
    const fs::path path = write("nm.ntf", twoBlocks("NM", secondBlockMissing()));
    const auto result = histogram(path, "--json");
    EXPECT_EQ(result.status, 3) << result.out;
    EXPECT_NE(result.out.find("(1 block missing)"), std::string::npos) << result.out;
}
