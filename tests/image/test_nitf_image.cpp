#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <variant>
#include <vector>

#include "image/NITFImagePrivate.h"
#include "image/RpfLocationReader.h"
#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "support/ImageTestFiles.h"
#include "support/TestPaths.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/image/NITFImage.h"
#include "tessel/image/TileFactory.h"

using namespace Tessel;
using image_test::ImageFileBuilder;
using image_test::ImageLayout;

namespace {

ImageLayout smallLayout() {
    image_test::Grid grid;
    grid.sample = [](uint32_t, uint32_t row, uint32_t column) { return row * 8 + column; };
    return image_test::gridLayout(grid);
}

image_test::OpenImage openLayout(const file_test::TempDir& dir, const ImageLayout& layout,
                                 const std::string& name = "a.ntf") {
    ImageFileBuilder().add(layout).write(dir / name);
    return image_test::openImage(dir / name);
}

// An image made directly, so that the construction's messages can be seen.
std::shared_ptr<NITFImage> construct(const std::shared_ptr<NITFFile>& file, NITFMessages& messages,
                                     ImageOptions options = {}) {
    return std::make_shared<NITFImage>(file, options, messages);
}

}  // namespace

TEST(NITFImage, GettersComeFromTheSubheaderAndTheFactory) {
    file_test::TempDir dir;
    ImageLayout layout = smallLayout();
    layout.icat = " SAR ";
    layout.irep = "MONO";
    const auto opened = openLayout(dir, layout);
    ASSERT_TRUE(opened.image);
    EXPECT_EQ(opened->getWidth(), 8u);
    EXPECT_EQ(opened->getHeight(), 8u);
    EXPECT_EQ(opened->getNumBands(), 1u);
    EXPECT_EQ(opened->getBlocksX(), 2u);
    EXPECT_EQ(opened->getBlocksY(), 2u);
    EXPECT_EQ(opened->getBlockWidth(), 4u);
    EXPECT_EQ(opened->getBlockHeight(), 4u);
    EXPECT_EQ(opened->getBitsPerPixel(), 8u);
    EXPECT_EQ(opened->getBytesPerPixel(), 1u);
    EXPECT_EQ(opened->getPixelType(), lumo_pixel::unsigned_integer);
    EXPECT_EQ(opened->getImageCategory(), "SAR");
    EXPECT_EQ(opened->getImageRepresentation(), "MONO");
    EXPECT_EQ(opened->getCompressionType(), eCompressionNC);
    EXPECT_EQ(opened->getColorInterpretation(), eColorMonochrome);
    EXPECT_EQ(opened->getCurrentImageSegment(), 0);
    EXPECT_EQ(opened->getNITFFile(), opened.file);
    EXPECT_EQ(std::to_string(opened->getAcquisitionDate()),
              std::to_string(nitf_date::parse(std::string_view("20240115103000"))));
    EXPECT_TRUE(opened->getLocationTables().empty());
    EXPECT_EQ(opened->getInternalPyramidLevels(), 0u);
    ASSERT_NE(opened->getTileFactory(), nullptr);
}

TEST(NITFImage, ZeroAbppTakesTheStorageBits) {
    file_test::TempDir dir;
    ImageLayout layout = smallLayout();
    layout.abpp = 0;
    const auto opened = openLayout(dir, layout);
    ASSERT_TRUE(opened.image);
    EXPECT_EQ(opened->getActualBitsPerPixel(), opened->getBitsPerPixel());
}

TEST(NITFImage, AbppAboveTheStorageBitsIsCutDown) {
    file_test::TempDir dir;
    ImageLayout layout = smallLayout();
    layout.abpp = 12;
    layout.nbpp = 8;
    const auto opened = openLayout(dir, layout);
    ASSERT_TRUE(opened.image);
    EXPECT_EQ(opened->getActualBitsPerPixel(), 8u);
}

TEST(NITFImage, AbppBelowTheStorageBitsStays) {
    file_test::TempDir dir;
    image_test::Grid grid;
    grid.nbpp = 16;
    ImageLayout layout = image_test::gridLayout(grid);
    layout.abpp = 11;
    const auto opened = openLayout(dir, layout);
    ASSERT_TRUE(opened.image);
    EXPECT_EQ(opened->getActualBitsPerPixel(), 11u);
    EXPECT_EQ(opened->getBitsPerPixel(), 16u);
}

TEST(NITFImage, CompressionCodeIgnoresCaseAndKnowsNoC5) {
    EXPECT_EQ(imageCompressionFromIC("nc"), eCompressionNC);
    EXPECT_EQ(imageCompressionFromIC("m8"), eCompressionM8);
    EXPECT_EQ(imageCompressionFromIC("I1"), eCompressionI1);
    EXPECT_EQ(imageCompressionFromIC("C5"), eCompressionUnknown);
    EXPECT_EQ(imageCompressionFromIC("M5"), eCompressionUnknown);
    EXPECT_EQ(imageCompressionFromIC("C9"), eCompressionUnknown);
    EXPECT_EQ(imageCompressionFromIC("NCX"), eCompressionUnknown);
    EXPECT_EQ(imageCompressionFromIC(""), eCompressionUnknown);
}

TEST(NITFImage, AnImageWithC1OpensAndReadsWithoutFailing) {
    file_test::TempDir dir;
    ImageLayout layout = smallLayout();
    layout.ic = "C1";
    layout.comrat = "1.0";
    const auto opened = openLayout(dir, layout);
    ASSERT_TRUE(opened.image);
    EXPECT_EQ(opened->getCompressionType(), eCompressionC1);
    EXPECT_EQ(opened->getWidth(), 8u);
    std::vector<uint8_t> block;
    EXPECT_TRUE(opened->readBlock(0, 0, 0, block));
}

TEST(NITFImage, MissingSegmentThrows) {
    file_test::TempDir dir;
    const auto opened = openLayout(dir, smallLayout());
    ImageOptions options;
    options.segment = 3;
    try {
        opened.file->getImage(options);
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "Missing Image");
    }
    options.segment = -1;
    EXPECT_THROW(opened.file->getImage(options), std::runtime_error);
}

TEST(NITFImage, PaletteNeedsTheImageRepresentationRBGLUT) {
    file_test::TempDir dir;
    ImageLayout layout = smallLayout();
    layout.irep = "RBG/LUT";
    layout.bands = {image_test::band("LU")};
    EXPECT_EQ(openLayout(dir, layout, "rbg.ntf")->getColorInterpretation(), eColorPalette);

    layout.irep = "RGB/LUT";
    const auto rgb = openLayout(dir, layout, "rgb.ntf");
    EXPECT_NE(rgb->getColorInterpretation(), eColorPalette);
    EXPECT_EQ(rgb->getColorInterpretation(), ToColorInterpretation("LU", "RGB/LUT"));

    layout.bands = {image_test::band("M")};
    EXPECT_EQ(openLayout(dir, layout, "mono.ntf")->getColorInterpretation(), eColorMonochrome);
}

TEST(NITFImage, OneLutIsTheBandsMap) {
    file_test::TempDir dir;
    ImageLayout layout = smallLayout();
    layout.bands[0].luts = {{10, 20, 30}};
    const auto opened = openLayout(dir, layout);
    const auto* map = std::get_if<std::vector<uint8_t>>(&opened->getColorMap(0));
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(*map, (std::vector<uint8_t>{10, 20, 30}));
}

TEST(NITFImage, TwoLutsShowTheSecondAsSingleBytes) {
    file_test::TempDir dir;
    ImageLayout layout = smallLayout();
    layout.bands[0].luts = {{1, 2, 3}, {7, 8, 9}};
    const auto opened = openLayout(dir, layout);
    const auto* map = std::get_if<std::vector<uint8_t>>(&opened->getColorMap(0));
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(*map, (std::vector<uint8_t>{7, 8, 9}));
}

TEST(NITFImage, ThreeLutsBecomeTriplets) {
    file_test::TempDir dir;
    ImageLayout layout = smallLayout();
    layout.bands[0].luts = {{1, 2}, {3, 4}, {5, 6}};
    const auto opened = openLayout(dir, layout);
    const auto* map = std::get_if<std::vector<std::array<uint8_t, 3>>>(&opened->getColorMap(0));
    ASSERT_NE(map, nullptr);
    ASSERT_EQ(map->size(), 2u);
    EXPECT_EQ((*map)[0], (std::array<uint8_t, 3>{1, 3, 5}));
    EXPECT_EQ((*map)[1], (std::array<uint8_t, 3>{2, 4, 6}));
}

TEST(NITFImage, BandsWithoutLutHoldEmptyMaps) {
    file_test::TempDir dir;
    image_test::Grid grid;
    grid.bands = 3;
    ImageLayout layout = image_test::gridLayout(grid);
    layout.bands[1].luts = {{5, 6}};
    const auto opened = openLayout(dir, layout);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(opened->getColorMap(0)));
    EXPECT_TRUE(std::holds_alternative<std::vector<uint8_t>>(opened->getColorMap(1)));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(opened->getColorMap(2)));
}

TEST(NITFImage, MoreThanThreeLutsAreReportedAndTheImageStillOpens) {
    file_test::TempDir dir;
    ImageLayout layout = smallLayout();
    layout.bands[0].luts = {{1}, {2}, {3}, {4}};
    ImageFileBuilder().add(layout).write(dir / "a.ntf");
    const auto file = image_test::openFile(dir / "a.ntf");
    ASSERT_TRUE(file);
    NITFMessages messages;
    const auto image = construct(file, messages);
    ASSERT_TRUE(image);
    EXPECT_NE(std::find(messages.begin(), messages.end(), "Unsupported NLUTS==%1%"),
              messages.end());
    EXPECT_TRUE(std::holds_alternative<std::monostate>(image->getColorMap(0)));
}

TEST(NITFImage, ColorMapOfTheBandCountIsEmpty) {
    file_test::TempDir dir;
    image_test::Grid grid;
    grid.bands = 2;
    ImageLayout layout = image_test::gridLayout(grid);
    layout.bands[0].luts = {{1, 2}};
    layout.bands[1].luts = {{3, 4}};
    const auto opened = openLayout(dir, layout);
    ASSERT_EQ(opened->getNumBands(), 2u);
    EXPECT_FALSE(std::holds_alternative<std::monostate>(opened->getColorMap(1)));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(opened->getColorMap(2)));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(opened->getColorMap(100)));
    EXPECT_EQ(&opened->getColorMap(2), &opened->getColorMap(100));
}

// ---------------------------------------------------------------------------------------
// RPF location tables and colour tables

namespace {

using image_test::bigEndian;

struct RpfColorTable {
    uint16_t id = 2;
    uint32_t records = 216;
    uint8_t seed = 0;
    uint32_t claimed = 0;  // a number of records to announce instead of the real one
};

std::string tableBytes(const RpfColorTable& table) {
    const size_t width = table.id == 1 ? 3 : table.id == 2 ? 4 : 1;
    std::string out;
    for (uint32_t i = 0; i < table.records * width; ++i) {
        out += static_cast<char>(static_cast<uint8_t>(table.seed + i));
    }
    return out;
}

// The RPFIMG payload: a location section listing 134 and 135, then both sections, with
// offsets counted from `base`, the payload's position in the file.
std::string rpfPayload(uint32_t base, const std::vector<RpfColorTable>& tables) {
    std::string colorGray;
    colorGray += static_cast<char>(tables.size());
    colorGray += '\0';
    colorGray += std::string("COLORS.XXX  ");
    std::string colormap = bigEndian(6, 4) + bigEndian(17, 2);
    size_t dataAt = 6 + 17 * tables.size();
    std::string data;
    for (const auto& table : tables) {
        const std::string bytes = tableBytes(table);
        const size_t tableAt = dataAt;
        const size_t histogramAt = tableAt + bytes.size();
        colormap += bigEndian(table.id, 2) +
                    bigEndian(table.claimed != 0 ? table.claimed : table.records, 4) +
                    bigEndian(bytes.size() / table.records, 1) + bigEndian(4, 2) +
                    bigEndian(tableAt, 4) + bigEndian(histogramAt, 4);
        data += bytes + std::string(size_t{4} * table.records, '\0');
        dataAt = histogramAt + size_t{4} * table.records;
    }
    colormap += data;
    const uint32_t sectionsAt = base + 14 + 2 * 10;
    std::string out = bigEndian(34, 2) + bigEndian(14, 4) + bigEndian(2, 2) + bigEndian(10, 2) +
                      bigEndian(colorGray.size() + colormap.size(), 4);
    out += bigEndian(134, 2) + bigEndian(colorGray.size(), 4) + bigEndian(sectionsAt, 4);
    out += bigEndian(135, 2) + bigEndian(colormap.size(), 4) +
           bigEndian(sectionsAt + colorGray.size(), 4);
    return out + colorGray + colormap;
}

// A file whose only image carries one RPFIMG extension with these colour tables; the
// extension is the last part of the subheader, so it ends where the image data starts.
void writeRpfFile(const std::filesystem::path& path, const std::vector<RpfColorTable>& tables,
                  uint32_t bands = 1) {
    image_test::Grid grid;
    grid.bands = bands;
    ImageLayout layout = image_test::gridLayout(grid);
    layout.tres = {image_test::rawTre("RPFIMG", rpfPayload(0, tables))};
    const uint64_t end = ImageFileBuilder().add(layout).dataOffset(0);
    const std::string payload = rpfPayload(0, tables);
    layout.tres = {image_test::rawTre(
        "RPFIMG", rpfPayload(static_cast<uint32_t>(end - payload.size()), tables))};
    ImageFileBuilder().add(layout).write(path);
}

}  // namespace

TEST(NITFImage, LocationTablesComeFromTheRpfimgExtension) {
    file_test::TempDir dir;
    writeRpfFile(dir / "a.ntf", {RpfColorTable{}});
    const auto opened = image_test::openImage(dir / "a.ntf");
    ASSERT_TRUE(opened.image);
    const auto& tables = opened->getLocationTables();
    ASSERT_EQ(tables.size(), 2u);
    EXPECT_EQ(tables[0].id, 134u);
    EXPECT_EQ(tables[0].length, 14u);
    EXPECT_EQ(tables[1].id, 135u);
    EXPECT_EQ(tables[1].offset, tables[0].offset + 14);
}

TEST(NITFImage, TwoRpfimgExtensionsGiveNoLocationTables) {
    file_test::TempDir dir;
    ImageLayout layout = smallLayout();
    const std::string payload = rpfPayload(0, {RpfColorTable{}});
    layout.tres = {image_test::rawTre("RPFIMG", payload), image_test::rawTre("RPFIMG", payload)};
    const auto opened = openLayout(dir, layout);
    ASSERT_TRUE(opened.image);
    EXPECT_TRUE(opened->getLocationTables().empty());
}

TEST(NITFImage, RpfTableOf216ColoursGoesToEveryBand) {
    file_test::TempDir dir;
    writeRpfFile(dir / "a.ntf", {RpfColorTable{2, 32, 1}, RpfColorTable{2, 216, 9}}, 2);
    const auto opened = image_test::openImage(dir / "a.ntf");
    ASSERT_TRUE(opened.image);
    for (uint32_t band = 0; band < 2; ++band) {
        const auto* map =
            std::get_if<std::vector<std::array<uint8_t, 4>>>(&opened->getColorMap(band));
        ASSERT_NE(map, nullptr) << band;
        ASSERT_EQ(map->size(), 216u);
        EXPECT_EQ((*map)[0], (std::array<uint8_t, 4>{9, 10, 11, 12}));
        EXPECT_EQ((*map)[1], (std::array<uint8_t, 4>{13, 14, 15, 16}));
    }
}

TEST(NITFImage, RpfTripletTableIsRead) {
    file_test::TempDir dir;
    writeRpfFile(dir / "a.ntf", {RpfColorTable{1, 216, 0}});
    const auto opened = image_test::openImage(dir / "a.ntf");
    const auto* map = std::get_if<std::vector<std::array<uint8_t, 3>>>(&opened->getColorMap(0));
    ASSERT_NE(map, nullptr);
    EXPECT_EQ((*map)[1], (std::array<uint8_t, 3>{3, 4, 5}));
}

TEST(NITFImage, RpfTablesOf32And16ColoursGiveNoMap) {
    file_test::TempDir dir;
    writeRpfFile(dir / "a.ntf", {RpfColorTable{2, 32, 0}, RpfColorTable{2, 16, 0}});
    const auto opened = image_test::openImage(dir / "a.ntf");
    ASSERT_TRUE(opened.image);
    EXPECT_EQ(opened->getLocationTables().size(), 2u);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(opened->getColorMap(0)));
}

TEST(NITFImage, LocationSectionRecordsBeyondTheDataAreDropped) {
    const std::string bytes = bigEndian(34, 2) + bigEndian(14, 4) + bigEndian(3, 2) +
                              bigEndian(10, 2) + bigEndian(0, 4) + bigEndian(134, 2) +
                              bigEndian(7, 4) + bigEndian(100, 4) + bigEndian(135, 2);
    const auto tables =
        parseLocationSection(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    ASSERT_EQ(tables.size(), 1u);
    EXPECT_EQ(tables[0].id, 134u);
    EXPECT_EQ(tables[0].length, 7u);
    EXPECT_EQ(tables[0].offset, 100u);
    EXPECT_TRUE(parseLocationSection(nullptr, 0).empty());
}

TEST(NITFImage, LocationReaderFailsPastTheEndOfTheFile) {
    file_test::TempDir dir;
    const auto opened = openLayout(dir, smallLayout());
    NITFMessages messages;
    RpfLocationReader reader({LocationTable{140, 10, 1u << 30}}, 140, opened.file, messages);
    ASSERT_TRUE(static_cast<bool>(reader));
    try {
        reader.u8(0);
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "RPFIMG: Unable to read NITF File");
    }
    EXPECT_NE(std::find(messages.begin(), messages.end(), "RPFIMG: Unable to read NITF File"),
              messages.end());
    RpfLocationReader missing({}, 140, opened.file, messages);
    EXPECT_FALSE(static_cast<bool>(missing));
}

TEST(NITFImage, CadrgFrameHasItsPaletteAndLocations) {
    const std::filesystem::path path =
        std::filesystem::path(TESSEL_SHARED_DIR) / "corpus/codice/fromOSGEO/cadrg/001zc013.on1";
    if (!std::filesystem::exists(path)) {
        GTEST_SKIP() << "corpus not available";
    }
    const auto opened = image_test::openImage(path);
    ASSERT_TRUE(opened.image);
    EXPECT_EQ(opened->getCompressionType(), eCompressionC4);
    EXPECT_FALSE(opened->getLocationTables().empty());
    const auto* map = std::get_if<std::vector<std::array<uint8_t, 4>>>(&opened->getColorMap(0));
    ASSERT_NE(map, nullptr);
    ASSERT_EQ(map->size(), 216u);
    // GDAL reads the same first entry: 5, 19, 174.
    EXPECT_EQ((*map)[0][0], 5);
    EXPECT_EQ((*map)[0][1], 19);
    EXPECT_EQ((*map)[0][2], 174);
}

// ---------------------------------------------------------------------------------------
// The file's image cache

TEST(NITFImageCache, SameOptionsGiveTheSameObject) {
    file_test::TempDir dir;
    const auto opened = openLayout(dir, smallLayout());
    EXPECT_EQ(opened.file->getImage({}), opened.image);
    ImageOptions level1;
    level1.level = 1;
    const auto other = opened.file->getImage(level1);
    ASSERT_TRUE(other);
    EXPECT_NE(other, opened.image);
    EXPECT_EQ(opened.file->getImage(level1), other);
}

TEST(NITFImageCache, ContextSegmentWinsOverTheOptions) {
    file_test::TempDir dir;
    ImageFileBuilder builder;
    for (int i = 0; i < 4; ++i) {
        ImageLayout layout = smallLayout();
        layout.iid1 = "IMG" + std::to_string(i);
        layout.icat = "CAT" + std::to_string(i);
        builder.add(layout);
    }
    builder.write(dir / "a.ntf");
    NITFMessages messages;
    NITFFileContext context =
        NITFFactory::get().open(file_test::uriOf(dir / "a.ntf", "#IM_3"), messages);
    ASSERT_TRUE(context);
    const auto image = context.getImage({});
    ASSERT_TRUE(image);
    EXPECT_EQ(image->getCurrentImageSegment(), 3);
    EXPECT_EQ(image->getImageCategory(), "CAT3");
}

TEST(NITFImageCache, EmptyContextGivesNothing) {
    NITFFileContext context(NITFURI(std::string_view("/nowhere/a.ntf")));
    EXPECT_EQ(context.getImage({}), nullptr);
}

TEST(NITFImageCache, FileMadeForWritingGivesNoImage) {
    NITFMessages messages;
    NITFFileContext context = NITFFactory::create(messages);
    ASSERT_TRUE(context);
    EXPECT_EQ(context.getFile().getImage({}), nullptr);
}

TEST(NITFImageCache, PathContextGivesTheImageOrTheReason) {
    file_test::TempDir dir;
    const auto opened = openLayout(dir, smallLayout());
    NITFMessages messages;
    EXPECT_EQ(opened.file->getPrivate()->getImage(0, messages), opened.image);
    EXPECT_EQ(opened.file->getPrivate()->getImage(5, messages), nullptr);
    EXPECT_NE(std::find(messages.begin(), messages.end(), "Missing Image"), messages.end());
}

TEST(NITFImageCache, ImageOutlivesItsFile) {
    file_test::TempDir dir;
    ImageFileBuilder().add(smallLayout()).write(dir / "a.ntf");
    NITFMessages messages;
    auto file = std::make_shared<NITFFile>(file_test::uriOf(dir / "a.ntf"), messages);
    const auto image = file->getImage({});
    ASSERT_TRUE(image);
    file.reset();
    EXPECT_EQ(image->getNITFFile(), nullptr);
    EXPECT_EQ(image->getWidth(), 8u);
    EXPECT_EQ(image->getPathString("/Images/0/IID1", "gone"), "gone");
    EXPECT_EQ(image->getPathInt("/Images/0/NROWS", -1), -1);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(image->getPath("/Images/0/NROWS")));
    EXPECT_TRUE(image->getFiles().empty());
}

TEST(NITFImagePaths, ForwardWithTheImagesSegment) {
    file_test::TempDir dir;
    const auto opened = openLayout(dir, smallLayout());
    EXPECT_EQ(opened->getPathInt("/Images/0/NROWS", -1), 8);
    EXPECT_EQ(opened->getPathString("/Images/0/IID1", ""), "IMAGE");
    EXPECT_EQ(opened->getPathDouble("/Images/0/NCOLS", -1), 8.0);
    EXPECT_EQ(opened->getPathString("/Images/0/NOSUCH", "fallback"), "fallback");
    NITFMessages messages;
    EXPECT_FALSE(opened->setPath("/Images/0/IID1", "X", messages));
    EXPECT_FALSE(opened->setISD("{}", messages));
}

// ---------------------------------------------------------------------------------------
// Pyramid levels beside the file

namespace {

void writeLevel(const std::filesystem::path& path, uint32_t size) {
    image_test::Grid grid;
    grid.rows = grid.cols = size;
    image_test::writeGrid(path, grid);
}

}  // namespace

TEST(NITFImagePyramid, OverviewFileR1IsLevel1) {
    file_test::TempDir dir;
    writeLevel(dir / "a.ntf", 16);
    writeLevel(dir / "a.ntf.r1", 8);
    const auto opened = image_test::openImage(dir / "a.ntf");
    ASSERT_TRUE(opened.image);
    ASSERT_EQ(opened->getInternalPyramidLevels(), 1u);
    const auto level = opened->getPyramidLevel(1);
    ASSERT_TRUE(level);
    EXPECT_EQ(level->getWidth(), 8u);
    EXPECT_EQ(level->getOptions().level, 1);
    const auto files = opened->getFiles();
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(files[0].filename(), "a.ntf");
    EXPECT_EQ(files[1].filename(), "a.ntf.r1");
}

TEST(NITFImagePyramid, OverviewFileRv1IsLevel1) {
    file_test::TempDir dir;
    writeLevel(dir / "a.ntf", 16);
    writeLevel(dir / "a.ntf.rv1", 8);
    const auto opened = image_test::openImage(dir / "a.ntf");
    ASSERT_EQ(opened->getInternalPyramidLevels(), 1u);
    EXPECT_EQ(opened->getPyramidLevel(1)->getWidth(), 8u);
}

TEST(NITFImagePyramid, ExtensionEndingInZeroFindsTheThirdForm) {
    file_test::TempDir dir;
    writeLevel(dir / "a.r0", 16);
    writeLevel(dir / "a.r1", 8);
    const auto opened = image_test::openImage(dir / "a.r0");
    ASSERT_TRUE(opened.image);
    ASSERT_EQ(opened->getInternalPyramidLevels(), 1u);
    EXPECT_EQ(opened->getFiles().back().filename(), "a.r1");
}

TEST(NITFImagePyramid, OneGapLeavesAnEmptyElement) {
    file_test::TempDir dir;
    writeLevel(dir / "a.ntf", 16);
    writeLevel(dir / "a.ntf.r1", 8);
    writeLevel(dir / "a.ntf.r3", 2);
    const auto opened = image_test::openImage(dir / "a.ntf");
    ASSERT_EQ(opened->getInternalPyramidLevels(), 3u);
    EXPECT_TRUE(opened->getPyramidLevel(1));
    EXPECT_FALSE(opened->getPyramidLevel(2));
    EXPECT_TRUE(opened->getPyramidLevel(3));
    EXPECT_EQ(opened->getFiles().size(), 3u);
}

TEST(NITFImagePyramid, TwoMissesEndTheSearch) {
    file_test::TempDir dir;
    writeLevel(dir / "a.ntf", 16);
    writeLevel(dir / "a.ntf.r1", 8);
    writeLevel(dir / "a.ntf.r4", 1);
    const auto opened = image_test::openImage(dir / "a.ntf");
    EXPECT_EQ(opened->getInternalPyramidLevels(), 1u);
}

TEST(NITFImagePyramid, AFileThatIsNoNitfIsSkipped) {
    file_test::TempDir dir;
    writeLevel(dir / "a.ntf", 16);
    file_test::writeFile(dir / "a.ntf.r1", "not a NITF file at all");
    writeLevel(dir / "a.ntf.rv1", 8);
    const auto opened = image_test::openImage(dir / "a.ntf");
    ASSERT_EQ(opened->getInternalPyramidLevels(), 1u);
    EXPECT_EQ(opened->getFiles().back().filename(), "a.ntf.rv1");
}

TEST(NITFImagePyramid, LevelsAboveZeroSearchNoFurther) {
    file_test::TempDir dir;
    writeLevel(dir / "a.ntf", 16);
    writeLevel(dir / "a.ntf.r1", 8);
    const auto opened = image_test::openImage(dir / "a.ntf");
    ASSERT_TRUE(opened->getPyramidLevel(1));
    EXPECT_EQ(opened->getPyramidLevel(1)->getInternalPyramidLevels(), 0u);
    EXPECT_FALSE(opened->getPyramidLevel(0));
    EXPECT_FALSE(opened->getPyramidLevel(2));
}

TEST(NITFImagePaths, GetISDIsTheFilesDocument) {
    file_test::TempDir dir;
    const auto opened = openLayout(dir, smallLayout());
    EXPECT_EQ(opened->getISD("JSON"), opened.file->getISD("JSON"));
    EXPECT_NE(opened->getISD("XML").find("<NITF"), std::string::npos);
}

TEST(NITFImage, RpfTableLongerThanTheFileFailsTheImage) {
    file_test::TempDir dir;
    RpfColorTable table;
    table.claimed = 0x40000000;
    writeRpfFile(dir / "a.ntf", {table});
    const auto file = image_test::openFile(dir / "a.ntf");
    ASSERT_TRUE(file);
    try {
        file->getImage({});
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "RPFIMG: Unable to read NITF File");
    }
}
