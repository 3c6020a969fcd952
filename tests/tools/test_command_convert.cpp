// tessel convert: TIFF and PNG images composed into new NITF files, with the same samples as
// GDAL reads them from the input and from the output, and output that appears whole or not
// at all.

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFileContext.h"
#include "tests/support/GdalOracle.h"
#include "tests/support/RunTool.h"
#include "tests/support/TestPaths.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

std::string bytesOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class CommandConvert : public ::testing::Test {
protected:
    void SetUp() override {
        if (!tessel_test::gdalAvailable()) {
            GTEST_SKIP() << "GDAL's Python bindings make the inputs and check the outputs";
        }
        folder_ = fs::path(::testing::TempDir()) /
                  ("command_convert_" + std::to_string(::getpid()) + "_" +
                   ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(folder_);
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }

    fs::path make(const std::string& name, const std::string& format, int width, int height,
                  int bands, const std::string& type, const std::string& options = "") {
        const fs::path path = folder_ / name;
        const std::string command = std::string("/usr/bin/python3 '") + TESSEL_SOURCE_DIR +
                                    "/tests/tools/make_raster.py' '" + path.string() + "' " +
                                    format + " " + std::to_string(width) + " " +
                                    std::to_string(height) + " " + std::to_string(bands) + " " +
                                    type + " " + options + " >/dev/null 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0) << command;
        return path;
    }

    static json describe(const fs::path& path) {
        return tessel_test::jsonFromCommand(std::string("/usr/bin/python3 '") + TESSEL_SOURCE_DIR +
                                            "/tests/file/gdal_written_images.py' '" +
                                            path.string() + "'");
    }

    tessel_test::ToolResult convert(const fs::path& in, const fs::path& out,
                                    const std::string& options = "") {
        return tessel_test::runTool("convert '" + in.string() + "' '" + out.string() + "' " +
                                    options + " 2>&1");
    }

    // The output holds one image with the input's size and the same samples per band.
    void expectSameSamples(const fs::path& in, const fs::path& out) {
        const json before = describe(in);
        const json after = describe(out);
        ASSERT_TRUE(before.is_array() && before.size() == 1) << before.dump();
        ASSERT_TRUE(after.is_array() && after.size() == 1) << after.dump();
        EXPECT_EQ(after[0]["size"], before[0]["size"]);
        ASSERT_EQ(after[0]["bands"].size(), before[0]["bands"].size());
        for (size_t band = 0; band < before[0]["bands"].size(); ++band) {
            EXPECT_EQ(after[0]["bands"][band]["type"], before[0]["bands"][band]["type"]) << band;
            EXPECT_EQ(after[0]["bands"][band]["sha256"], before[0]["bands"][band]["sha256"])
                << band;
        }
    }

    size_t filesInFolder() const {
        return static_cast<size_t>(std::distance(fs::directory_iterator(folder_), {}));
    }

    fs::path folder_;
};

TEST_F(CommandConvert, RgbTiffBecomesAnRgbImageInBlocksOfTheGivenSize) {
    const fs::path in = make("rgb.tif", "GTiff", 300, 200, 3, "Byte", "PHOTOMETRIC=RGB");
    const fs::path out = folder_ / "rgb.ntf";
    const auto result = convert(in, out, "--block 128");
    ASSERT_EQ(result.status, 0) << result.out;
    expectSameSamples(in, out);
    const json after = describe(out);
    EXPECT_EQ(after[0]["block"], json::array({128, 128}));
    const json& metadata = after[0]["metadata"];
    EXPECT_EQ(metadata["NITF_IREP"], "RGB");
    EXPECT_EQ(metadata["NITF_IMODE"], "S");
    EXPECT_EQ(metadata["NITF_IC"], "NC");
    EXPECT_EQ(metadata["NITF_FHDR"], "NITF02.10");
    EXPECT_EQ(metadata["NITF_FTITLE"], "rgb.ntf");
    EXPECT_EQ(metadata["NITF_IID2"], "rgb");
}

TEST_F(CommandConvert, DefaultBlockIsTheImageWhenTheImageIsSmaller) {
    const fs::path in = make("grey.tif", "GTiff", 70, 30, 1, "Byte");
    const fs::path out = folder_ / "grey.ntf";
    const auto result = convert(in, out);
    ASSERT_EQ(result.status, 0) << result.out;
    expectSameSamples(in, out);
    Tessel::NITFMessages messages;
    const auto context =
        Tessel::NITFFactory::get().open(Tessel::NITFURI(std::string_view(out.string())), messages);
    ASSERT_TRUE(context);
    EXPECT_EQ(context.getPathString("/Images/0/NPPBH", ""), "0070");
    EXPECT_EQ(context.getPathString("/Images/0/NPPBV", ""), "0030");
    EXPECT_EQ(context.getPathString("/Images/0/NBPR", ""), "0001");
    EXPECT_EQ(context.getPathString("/Images/0/NBPC", ""), "0001");
    EXPECT_EQ(describe(out)[0]["metadata"]["NITF_IREP"], "MONO");
}

TEST_F(CommandConvert, SixteenBitGreyPngKeepsItsSamples) {
    const fs::path in = make("grey16.png", "PNG", 40, 25, 1, "UInt16");
    const fs::path out = folder_ / "grey16.ntf";
    const auto result = convert(in, out, "--block 16");
    ASSERT_EQ(result.status, 0) << result.out;
    expectSameSamples(in, out);
}

TEST_F(CommandConvert, RgbPngKeepsItsSamples) {
    const fs::path in = make("rgb.png", "PNG", 33, 17, 3, "Byte");
    const fs::path out = folder_ / "rgb8.ntf";
    const auto result = convert(in, out);
    ASSERT_EQ(result.status, 0) << result.out;
    expectSameSamples(in, out);
}

TEST_F(CommandConvert, TiledPlanarMultiBandTiffOfSignedSamplesKeepsThem) {
    const fs::path in = make("multi.tif", "GTiff", 50, 40, 5, "Int16",
                             "INTERLEAVE=BAND TILED=YES BLOCKXSIZE=16 BLOCKYSIZE=16");
    const fs::path out = folder_ / "multi.ntf";
    const auto result = convert(in, out, "--block 32");
    ASSERT_EQ(result.status, 0) << result.out;
    expectSameSamples(in, out);
    EXPECT_EQ(describe(out)[0]["metadata"]["NITF_IREP"], "MULTI");
}

TEST_F(CommandConvert, FloatTiffKeepsItsSamples) {
    const fs::path in = make("float.tif", "GTiff", 20, 10, 2, "Float32", "COMPRESS=DEFLATE");
    const fs::path out = folder_ / "float.ntf";
    const auto result = convert(in, out);
    ASSERT_EQ(result.status, 0) << result.out;
    expectSameSamples(in, out);
}

// Setting fields by path is a capability of its own: while it refuses, the command stops
// before writing and says so; once it works, the field is in the output.
TEST_F(CommandConvert, SetFillsTheFieldOrIsRefusedBeforeAnythingIsWritten) {
    const fs::path in = make("set.tif", "GTiff", 8, 8, 1, "Byte");
    const fs::path out = folder_ / "set.ntf";
    const auto result = convert(in, out, "--set /FileHeader/FTITLE=hello");
    if (result.status == 0) {
        EXPECT_EQ(describe(out)[0]["metadata"]["NITF_FTITLE"], "hello");
        return;
    }
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("tessel convert: --set /FileHeader/FTITLE=hello was refused"),
              std::string::npos)
        << result.out;
    EXPECT_FALSE(fs::exists(out));
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(CommandConvert, DiskFullLeavesTheOldFileAndNoPartialFile) {
    const fs::path in = make("big.tif", "GTiff", 64, 64, 1, "Byte");
    const fs::path out = folder_ / "out.ntf";
    std::ofstream(out) << "the old file";
    const auto [status, printed] =
        tessel_test::runToolOnFullDisk("convert '" + in.string() + "' '" + out.string() + "'", 1);
    EXPECT_EQ(status, 1) << printed;
    EXPECT_NE(printed.find("tessel convert: "), std::string::npos) << printed;
    EXPECT_EQ(bytesOf(out), "the old file");
    EXPECT_EQ(filesInFolder(), 2u) << "a temporary file stayed behind";
}

TEST_F(CommandConvert, InputThatIsNeitherTiffNorPngWritesNothing) {
    const fs::path in = folder_ / "text.tif";
    std::ofstream(in) << "just some text, no image";
    const auto result = convert(in, folder_ / "out.ntf");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("neither a TIFF nor a PNG"), std::string::npos) << result.out;
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(CommandConvert, TruncatedInputsFailCleanlyAndWriteNothing) {
    for (const char* format : {"GTiff", "PNG"}) {
        const std::string name = std::string("cut.") + (format[0] == 'G' ? "tif" : "png");
        const fs::path in = make(name, format, 64, 64, 3, "Byte");
        std::string bytes = bytesOf(in);
        for (size_t keep : {bytes.size() / 2, size_t{40}, size_t{8}}) {
            std::ofstream(in, std::ios::binary | std::ios::trunc) << bytes.substr(0, keep);
            const auto result = convert(in, folder_ / "out.ntf");
            EXPECT_EQ(result.status, 1) << format << " " << keep << result.out;
            EXPECT_NE(result.out.find("tessel convert: "), std::string::npos) << result.out;
            EXPECT_FALSE(fs::exists(folder_ / "out.ntf")) << format << " " << keep;
        }
    }
}

TEST_F(CommandConvert, WrongArgumentsAreUsageErrors) {
    EXPECT_NE(tessel_test::runTool("convert only-one 2>&1").out.find("expected IN OUT"),
              std::string::npos);
    EXPECT_NE(tessel_test::runTool("convert a b --block 0 2>&1").out.find("--block takes"),
              std::string::npos);
    EXPECT_NE(tessel_test::runTool("convert a b --set nothing 2>&1").out.find("PATH=VALUE"),
              std::string::npos);
    EXPECT_EQ(tessel_test::runTool("convert a b --frobnicate 2>&1").status, 1);
}

}  // namespace
