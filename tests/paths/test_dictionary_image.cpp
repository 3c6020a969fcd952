#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <variant>

#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "support/ImageTestFiles.h"
#include "support/TestPaths.h"
#include "tessel/image/NITFImage.h"
#include "tessel/platform/base/text.h"

using namespace Tessel;

namespace {

std::string textOf(const any_type::value& value) {
    if (const auto* narrow = std::get_if<std::string>(&value)) {
        return *narrow;
    }
    if (const auto* wide = std::get_if<std::wstring>(&value)) {
        return std::to_string(std::wstring_view(*wide));
    }
    return "<none>";
}

std::string query(NITFFile& file, int image, std::string_view path) {
    NITFMessages messages;
    return textOf(file.getPrivate()->GetByPathAsVariant(image, path, messages));
}

}  // namespace

TEST(ImageDictionary, CompressionListsTheCodecsProperties) {
    file_test::TempDir dir;
    image_test::Grid grid;
    image_test::ImageLayout layout = image_test::gridLayout(grid);
    // A masked image with a pad value: its codec reports the pad value.
    layout.ic = "NM";
    layout.data = image_test::blockMaskTable({0, 16, 32, 48}, true, 7) + layout.data;
    image_test::ImageFileBuilder().add(layout).write(dir / "a.ntf");
    const auto opened = image_test::openImage(dir / "a.ntf");
    ASSERT_TRUE(opened.image);
    const auto info = opened->getCompressionInfo();
    ASSERT_FALSE(info.empty());
    for (const auto& [key, value] : info) {
        EXPECT_EQ(query(*opened.file, 0, "/Images/0/Compression/" + key), value) << key;
    }
}

TEST(ImageDictionary, CompressionOfAnImageThatCantBeMadeIsEmpty) {
    file_test::TempDir dir;
    image_test::ImageLayout layout = image_test::gridLayout(image_test::Grid{});
    layout.imode = "Q";  // no codec can make a factory for it
    image_test::ImageFileBuilder().add(layout).write(dir / "a.ntf");
    const auto file = image_test::openFile(dir / "a.ntf");
    ASSERT_TRUE(file);
    EXPECT_EQ(query(*file, 0, "/Images/0/Compression/_count"), "0");
    EXPECT_EQ(query(*file, 0, "/Images/0/RPFTables/Coverage/UpperLeft/lat"), "<none>");
    EXPECT_EQ(query(*file, 0, "/Images/0/IMODE"), "Q");
}

TEST(ImageDictionary, RpfTablesOfACadrgFrame) {
    const std::filesystem::path path =
        std::filesystem::path(TESSEL_SHARED_DIR) / "corpus/codice/fromOSGEO/cadrg/001zc013.on1";
    if (!std::filesystem::exists(path)) {
        GTEST_SKIP() << "corpus not available";
    }
    const auto file = image_test::openFile(path);
    ASSERT_TRUE(file);
    EXPECT_EQ(query(*file, 0, "/Images/0/RPFTables/Colormap/ColorOffestRecords"), "3");
    EXPECT_EQ(query(*file, 0, "/Images/0/RPFTables/Colormap/Tables/0/ColorRecords"), "216");
    EXPECT_EQ(query(*file, 0, "/Images/0/RPFTables/ImageDescription/SubframesEastWest"), "6");
    EXPECT_EQ(query(*file, 0, "/Images/0/RPFTables/Coverage/UpperLeft/lat"), "31.034482758620694");
}

TEST(ImageDictionary, RpfTablesOfAnImageWithoutRpfDataAreEmpty) {
    file_test::TempDir dir;
    image_test::writeGrid(dir / "a.ntf", image_test::Grid{});
    const auto file = image_test::openFile(dir / "a.ntf");
    ASSERT_TRUE(file);
    EXPECT_EQ(query(*file, 0, "/Images/0/RPFTables/Coverage/UpperLeft/lat"), "<none>");
    EXPECT_EQ(query(*file, 0, "/Images/0/NROWS"), "00000008");
}
