#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/platform/nitf.h"

using image_test::BandLayout;
using image_test::ImageFileBuilder;
using image_test::ImageLayout;

namespace {

uint64_t fieldValue(nitf_Field* field) {
    uint64_t value = 0;
    nitf_Error error{};
    EXPECT_TRUE(nitf_Field_get(field, &value, NITF_CONV_UINT, sizeof(value), &error));
    return value;
}

ImageLayout twoImagesFirst() {
    ImageLayout layout;
    layout.rows = 5;
    layout.cols = 7;
    layout.nbpp = 16;
    layout.abpp = 12;
    layout.imode = "P";
    layout.bands = {image_test::band("R"), image_test::band("G"), image_test::band("B")};
    layout.irep = "RGB";
    layout.data = std::string(5 * 7 * 3 * 2, '\x01');
    return layout;
}

ImageLayout twoImagesSecond() {
    ImageLayout layout;
    layout.iid1 = "SECOND";
    layout.rows = 8;
    layout.cols = 8;
    layout.nbpr = 2;
    layout.nbpc = 2;
    layout.nppbh = 4;
    layout.nppbv = 4;
    BandLayout lut = image_test::band("LU");
    lut.luts = {std::vector<uint8_t>(256, 7)};
    layout.bands = {lut};
    layout.irep = "MONO";
    layout.tres = {image_test::rawTre("TESTAA", "hello")};
    layout.data = std::string(64, '\x02');
    return layout;
}

}  // namespace

TEST(ImageFileBuilder, BuiltFileOpensWithTheChosenFields) {
    file_test::TempDir dir;
    const auto path = dir / "two.ntf";
    ImageFileBuilder builder;
    builder.add(twoImagesFirst()).add(twoImagesSecond());
    builder.write(path);

    Tessel::NITFMessages messages;
    Tessel::NITFFileContext context =
        Tessel::NITFFactory::get().open(file_test::uriOf(path), messages);
    ASSERT_TRUE(context) << (messages.empty() ? "" : messages.front());
    EXPECT_EQ(context.getNumberImages(), 2u);

    nitf_Record* record = context.getFile().getPrivate()->getRecord();
    nitf_Error error{};
    auto* first = static_cast<nitf_ImageSegment*>(nrt_List_get(record->images, 0, &error));
    auto* second = static_cast<nitf_ImageSegment*>(nrt_List_get(record->images, 1, &error));
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(fieldValue(first->subheader->numRows), 5u);
    EXPECT_EQ(fieldValue(first->subheader->numCols), 7u);
    EXPECT_EQ(fieldValue(first->subheader->numBitsPerPixel), 16u);
    EXPECT_EQ(fieldValue(first->subheader->numImageBands), 3u);
    EXPECT_EQ(first->imageEnd - first->imageOffset, 5u * 7 * 3 * 2);
    EXPECT_EQ(first->imageOffset, builder.dataOffset(0));
    EXPECT_EQ(second->imageOffset, builder.dataOffset(1));
    EXPECT_EQ(fieldValue(second->subheader->numBlocksPerRow), 2u);
    EXPECT_EQ(fieldValue(second->subheader->numPixelsPerVertBlock), 4u);
    const std::string bytes = builder.bytes();
    EXPECT_EQ(bytes.substr(second->imageOffset, 64), std::string(64, '\x02'));
}

TEST(ImageFileBuilder, GdalAgreesOnSizeAndBands) {
    if (std::system("gdalinfo --version >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "gdalinfo is not installed";
    }
    file_test::TempDir dir;
    const auto path = dir / "gdal.ntf";
    ImageFileBuilder().add(twoImagesFirst()).write(path);
    const std::string command = "gdalinfo " + path.string() + " 2>/dev/null";
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
    ASSERT_NE(pipe, nullptr);
    std::string output;
    char chunk[4096];
    size_t got = 0;
    while ((got = std::fread(chunk, 1, sizeof(chunk), pipe.get())) > 0) {
        output.append(chunk, got);
    }
    EXPECT_NE(output.find("Size is 7, 5"), std::string::npos) << output;
    EXPECT_NE(output.find("Band 3 "), std::string::npos) << output;
    EXPECT_EQ(output.find("Band 4 "), std::string::npos) << output;
    EXPECT_NE(output.find("Type=UInt16"), std::string::npos) << output;
}
