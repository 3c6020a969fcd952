#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <nlohmann/json.hpp>

#include "image/ShuffleGather.h"
#include "support/TileTestSupport.h"
#include "tessel/image/NITFTileFactory.h"
#include "tessel/image/TilePool.h"
#include "tessel/platform/base/lumo_concurrency.h"
#include "tessel/platform/base/versions.h"

using Tessel::NITFTileFactory;
using Tessel::Tile;
using Tessel::tile_id;
using tile_test::TestTileFactory;

namespace {

bool allBytesAre(const Tile& tile, uint64_t bytes, uint8_t value) {
    const uint8_t* data = tile.getBuffer();
    return data != nullptr &&
           std::all_of(data, data + bytes, [value](uint8_t b) { return b == value; });
}

TestTileFactory::Grid gridWithNoData(lumo_pixel::pixel noData, uint32_t bits = 8) {
    TestTileFactory::Grid grid;
    grid.noData = noData;
    grid.bits = bits;
    return grid;
}

}  // namespace

TEST(Tile, BufferHasTheFactorysBlockBytesAndIsAligned) {
    TestTileFactory::Grid grid;
    grid.blockWidth = 33;
    grid.blockHeight = 7;
    grid.bits = 16;
    TestTileFactory factory(grid);
    Tessel::Tile_Dummy tile(tile_id{&factory, 0, 0, 0});
    EXPECT_FALSE(tile.hasBuffer());
    Tessel::TileGroup group;
    EXPECT_TRUE(tile.load(group));
    ASSERT_TRUE(tile.hasBuffer());
    EXPECT_EQ(reinterpret_cast<uintptr_t>(tile.getBuffer()) % Tile::buffer_alignment, 0u);
    std::memset(tile.getBuffer(), 0x5A, factory.getBlockBytes());  // asan checks the size
    EXPECT_EQ(tile.allocateBuffer(), tile.getBuffer());
}

TEST(Tile, MarkFailedFillsWithFFAndSetsTheFailedFlag) {
    TestTileFactory factory({});
    Tessel::Tile_Dummy tile(tile_id{&factory, 1, 0, 0});
    tile.markFailed();
    EXPECT_TRUE(tile.isFailed());
    EXPECT_EQ(tile.getFlags() & Tile::loaded_flag, 0);
    EXPECT_TRUE(allBytesAre(tile, factory.getBlockBytes(), 0xFF));
}

TEST(TileId, OrdersByFactoryThenXThenYThenBand) {
    TestTileFactory a({});
    const tile_id base{&a, 1, 1, 1};
    EXPECT_TRUE((tile_id{&a, 0, 9, 9} < base));
    EXPECT_TRUE((tile_id{&a, 1, 0, 9} < base));
    EXPECT_TRUE((tile_id{&a, 1, 1, 0} < base));
    EXPECT_FALSE(base < base);
    EXPECT_TRUE((base < tile_id{&a, 0xFFFFFFFFu, 0, 0}));
}

TEST(TileFactory, RequestInsideTheGridCreatesTiles) {
    TestTileFactory factory({});
    const tile_id id{&factory, 1, 1, 0};
    const Tessel::TileGroup group = factory.requestTiles(id);
    ASSERT_EQ(group.size(), 1u);
    EXPECT_EQ(group.front().first, id);
    EXPECT_NE(group.front().second, factory.blankTile());
    EXPECT_EQ(factory.behaviour.created, 1);
}

TEST(TileFactory, BandEqualToTheBandCountGivesTheBlankTile) {
    TestTileFactory::Grid grid;
    grid.bands = 3;
    TestTileFactory factory(grid);
    for (const tile_id& id :
         {tile_id{&factory, 0, 0, 3}, tile_id{&factory, 2, 0, 0}, tile_id{&factory, 0, 2, 0}}) {
        const Tessel::TileGroup group = factory.requestTiles(id);
        ASSERT_EQ(group.size(), 1u);
        EXPECT_EQ(group.front().first, id);
        EXPECT_EQ(group.front().second, factory.blankTile());
    }
    EXPECT_EQ(factory.behaviour.created, 0);
}

TEST(TileFactory, BlankTileIsMadeOnceAndFilledWithTheNoDataLowByte) {
    TestTileFactory factory(
        gridWithNoData(lumo_pixel::pixel::fromUnsigned(lumo_pixel::unsigned_integer, 8, 7)));
    const auto blank = factory.blankTile();
    EXPECT_EQ(blank, factory.blankTile());
    EXPECT_TRUE(allBytesAre(*blank, factory.getBlockBytes(), 7));
    EXPECT_FALSE(blank->isFailed());
}

TEST(TileFactory, SixteenBitNoDataFillsEveryByteWithItsLowByte) {
    TestTileFactory factory(gridWithNoData(
        lumo_pixel::pixel::fromUnsigned(lumo_pixel::unsigned_integer, 16, 0x1234), 16));
    EXPECT_TRUE(allBytesAre(*factory.blankTile(), factory.getBlockBytes(), 0x34));
}

TEST(TileFactory, SignedAndBilevelNoDataFillWithTheLowByte) {
    TestTileFactory signedFactory(gridWithNoData(lumo_pixel::pixel::fromSigned(32, -2), 32));
    EXPECT_TRUE(allBytesAre(*signedFactory.blankTile(), signedFactory.getBlockBytes(), 0xFE));
    TestTileFactory bilevel(
        gridWithNoData(lumo_pixel::pixel::fromUnsigned(lumo_pixel::bilevel, 1, 0x101)));
    EXPECT_TRUE(allBytesAre(*bilevel.blankTile(), bilevel.getBlockBytes(), 0x01));
}

TEST(TileFactory, RealNoDataFillsWithItsTruncatedLowByte) {
    TestTileFactory factory(gridWithNoData(lumo_pixel::pixel::fromReal(32, 3.7), 32));
    EXPECT_TRUE(allBytesAre(*factory.blankTile(), factory.getBlockBytes(), 3));
    TestTileFactory wide(gridWithNoData(lumo_pixel::pixel::fromReal(64, 258.9), 64));
    EXPECT_TRUE(allBytesAre(*wide.blankTile(), wide.getBlockBytes(), 2));
}

TEST(TileFactory, ComplexNoDataFillsWithZero) {
    lumo_pixel::pixel complex{lumo_pixel::complex_float, 64, 0x4242, 0x4242};
    TestTileFactory factory(gridWithNoData(complex, 64));
    EXPECT_TRUE(allBytesAre(*factory.blankTile(), factory.getBlockBytes(), 0));
}

TEST(TileFactory, WithoutNoDataTheBlankTileExistsButItsContentIsUndefined) {
    TestTileFactory factory({});
    const auto blank = factory.blankTile();
    ASSERT_NE(blank, nullptr);
    EXPECT_TRUE(blank->hasBuffer());
    EXPECT_FALSE(blank->isFailed());
    // No byte value is promised: the test only reads the buffer, which asan checks.
    std::vector<uint8_t> copy(blank->getBuffer(), blank->getBuffer() + factory.getBlockBytes());
    EXPECT_EQ(copy.size(), factory.getBlockBytes());
}

TEST(TileFactory, ErrorTileIsFFWithTheFailedFlagOnly) {
    TestTileFactory factory({});
    const auto error = factory.errorTile();
    EXPECT_EQ(error, factory.errorTile());
    EXPECT_EQ(error->getFlags(), Tile::failed_flag);
    EXPECT_TRUE(allBytesAre(*error, factory.getBlockBytes(), 0xFF));
}

TEST(TileFactory, DestructionForgetsItsTilesInTheProcessPool) {
    Tessel::TilePool* pool = Tessel::TilePool::get();
    auto factory = std::make_unique<TestTileFactory>(TestTileFactory::Grid{});
    lumo_concurrency::execution_context_fg context;
    const auto held = pool->getTile(tile_id{factory.get(), 0, 0, 0}, context);
    pool->getTile(tile_id{factory.get(), 1, 0, 0}, context);
    const size_t withTiles = pool->cacheSize();
    EXPECT_GE(withTiles, 2u);
    factory.reset();
    EXPECT_EQ(pool->cacheSize(), withTiles - 2);
    EXPECT_EQ(held->getBuffer()[0], tile_test::TestTile::valueOf(tile_id{nullptr, 0, 0, 0}));
}

TEST(TileFactoryRegistry, TheUncompressedMakerIsBuiltInAndLaterMakersFollow) {
    const auto before = Tessel::registeredTileFactories();
    ASSERT_FALSE(before.empty());
    EXPECT_NE(std::find(before.begin(), before.end(), "NC_MC_NoCompression"), before.end());
    Tessel::registerTileFactory("Test_Never",
                                [](const Tessel::NITFImage*, const Tessel::ImageOptions&) {
                                    return std::unique_ptr<Tessel::TileFactory>();
                                });
    const auto after = Tessel::registeredTileFactories();
    ASSERT_EQ(after.size(), before.size() + 1);
    EXPECT_EQ(after.back(), "Test_Never");
}

TEST(TileFactoryRegistry, CodecListingNamesEveryMakerInOrder) {
    const nlohmann::ordered_json versions = collectVersions();
    ASSERT_TRUE(versions.contains("nitf-codecs"));
    EXPECT_EQ(versions["nitf-codecs"]["description"], "List Registered NITF CODECs");
    const auto& listed = versions["nitf-codecs"]["value"];
    ASSERT_TRUE(listed.is_array());
    const auto names = Tessel::registeredTileFactories();
    ASSERT_EQ(listed.size(), names.size());
    for (size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(listed[i], names[i]);
    }
}

TEST(NITFTileFactoryFields, BitsPerPixelRoundsUpToWholeBytes) {
    EXPECT_EQ(NITFTileFactory::roundBitsPerPixel(0), 0u);
    EXPECT_EQ(NITFTileFactory::roundBitsPerPixel(1), 1u);
    EXPECT_EQ(NITFTileFactory::roundBitsPerPixel(8), 8u);
    EXPECT_EQ(NITFTileFactory::roundBitsPerPixel(9), 16u);
    EXPECT_EQ(NITFTileFactory::roundBitsPerPixel(12), 16u);
    EXPECT_EQ(NITFTileFactory::roundBitsPerPixel(17), 32u);
    EXPECT_EQ(NITFTileFactory::roundBitsPerPixel(33), 64u);
    EXPECT_EQ(NITFTileFactory::roundBitsPerPixel(64), 64u);
    EXPECT_EQ(NITFTileFactory::roundBitsPerPixel(65), 65u);
}

TEST(NITFTileFactoryFields, PixelTypeNeedsExactlyThreeCharactersAnyCase) {
    EXPECT_EQ(NITFTileFactory::pixelTypeFromPVTYPE("INT"), lumo_pixel::unsigned_integer);
    EXPECT_EQ(NITFTileFactory::pixelTypeFromPVTYPE("int"), lumo_pixel::unsigned_integer);
    EXPECT_EQ(NITFTileFactory::pixelTypeFromPVTYPE("b  "), lumo_pixel::bilevel);
    EXPECT_EQ(NITFTileFactory::pixelTypeFromPVTYPE("SI "), lumo_pixel::signed_integer);
    EXPECT_EQ(NITFTileFactory::pixelTypeFromPVTYPE("R  "), lumo_pixel::real);
    EXPECT_EQ(NITFTileFactory::pixelTypeFromPVTYPE("C  "), lumo_pixel::complex_float);
    EXPECT_EQ(NITFTileFactory::pixelTypeFromPVTYPE("SI"), lumo_pixel::unknown);
    EXPECT_EQ(NITFTileFactory::pixelTypeFromPVTYPE("INT "), lumo_pixel::unknown);
    EXPECT_EQ(NITFTileFactory::pixelTypeFromPVTYPE("U  "), lumo_pixel::unknown);
}

TEST(NITFTileFactoryFields, ModeLettersMapToNumbers) {
    const std::pair<const char*, NITFTileFactory::Mode> table[] = {
        {"S", NITFTileFactory::mode_S}, {"B", NITFTileFactory::mode_B},
        {"P", NITFTileFactory::mode_P}, {"R", NITFTileFactory::mode_R},
        {"D", NITFTileFactory::mode_D}, {"T", NITFTileFactory::mode_T},
        {"E", NITFTileFactory::mode_E}, {"F", NITFTileFactory::mode_F},
        {"X", NITFTileFactory::mode_X}, {"Z", NITFTileFactory::mode_Z}};
    for (const auto& [letter, mode] : table) {
        EXPECT_EQ(NITFTileFactory::modeFromIMODE(letter), mode) << letter;
    }
    EXPECT_EQ(NITFTileFactory::modeFromIMODE("b"), NITFTileFactory::mode_none);
    EXPECT_EQ(NITFTileFactory::modeFromIMODE("BB"), NITFTileFactory::mode_none);
    EXPECT_EQ(NITFTileFactory::modeFromIMODE(""), NITFTileFactory::mode_none);
}

TEST(SwappingCopy, TwoByteElementsWithStrideAreSwapped) {
    // Three interleaved 16-bit bands; band 1 is elements 1, 4, 7.
    std::vector<uint8_t> source;
    for (uint8_t i = 0; i < 9; ++i) {
        source.push_back(static_cast<uint8_t>(0x10 + i));
        source.push_back(i);
    }
    std::vector<uint8_t> out(6, 0xEE);
    Tessel::swappingCopy(2, source.data(), out.data(), source.size(), 1, 3);
    EXPECT_EQ(out, (std::vector<uint8_t>{1, 0x11, 4, 0x14, 7, 0x17}));
}

TEST(SwappingCopy, FourAndEightByteElementsAreReversed) {
    const std::vector<uint8_t> four{1, 2, 3, 4, 5, 6, 7, 8};
    std::vector<uint8_t> out(8);
    Tessel::swappingCopy(4, four.data(), out.data(), four.size(), 0, 1);
    EXPECT_EQ(out, (std::vector<uint8_t>{4, 3, 2, 1, 8, 7, 6, 5}));
    Tessel::swappingCopy(8, four.data(), out.data(), four.size(), 0, 1);
    EXPECT_EQ(out, (std::vector<uint8_t>{8, 7, 6, 5, 4, 3, 2, 1}));
}

TEST(SwappingCopy, SingleBytesAreCopiedAndRunsInPlace) {
    std::vector<uint8_t> data{1, 2, 3, 4, 5, 6};
    std::vector<uint8_t> out(2);
    Tessel::swappingCopy(1, data.data(), out.data(), data.size(), 2, 3);
    EXPECT_EQ(out, (std::vector<uint8_t>{3, 6}));
    Tessel::swappingCopy(2, data.data(), data.data(), data.size(), 0, 1);
    EXPECT_EQ(data, (std::vector<uint8_t>{2, 1, 4, 3, 6, 5}));
}

namespace {

// Element `index` of a big-endian source in host order, byte by byte.
std::vector<uint8_t> hostElement(const std::vector<uint8_t>& source, size_t size, size_t index) {
    std::vector<uint8_t> element(source.begin() + static_cast<std::ptrdiff_t>(index * size),
                                 source.begin() + static_cast<std::ptrdiff_t>((index + 1) * size));
    std::reverse(element.begin(), element.end());
    return element;
}

// What the copy must give, element by element, for a little-endian host.
std::vector<uint8_t> expectedCopy(const std::vector<uint8_t>& source, size_t size, size_t start,
                                  size_t stride) {
    std::vector<uint8_t> out;
    for (size_t index = start; index < source.size() / size; index += stride) {
        const std::vector<uint8_t> element = hostElement(source, size, index);
        out.insert(out.end(), element.begin(), element.end());
    }
    return out;
}

std::vector<uint8_t> patternOf(size_t length) {
    std::vector<uint8_t> bytes(length);
    for (size_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<uint8_t>(i * 7 + i / 251);
    }
    return bytes;
}

}  // namespace

// Long runs go through the vector gather where the processor has one, and their ends
// through the element loop: every size, stride and band, with lengths that leave ends.
TEST(SwappingCopy, LongRunsOfEverySizeStrideAndStartMatchElementByElement) {
    static_assert(std::endian::native == std::endian::little, "expected bytes assume it");
    for (size_t size : {1, 2, 4, 8}) {
        for (size_t stride = 1; stride <= 6; ++stride) {
            for (size_t start = 0; start < stride; ++start) {
                for (size_t length : {size_t{4096}, size_t{1000 * 8 + 5}, size_t{37}}) {
                    SCOPED_TRACE(testing::Message() << "size " << size << " stride " << stride
                                                    << " start " << start << " length " << length);
                    const std::vector<uint8_t> source = patternOf(length);
                    const std::vector<uint8_t> expected = expectedCopy(source, size, start, stride);
                    std::vector<uint8_t> out(expected.size() + 16, 0xEE);
                    Tessel::swappingCopy(size, source.data(), out.data(), length, start, stride);
                    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), out.begin()));
                    // Nothing beyond the elements is written.
                    EXPECT_EQ(std::count(out.begin() + static_cast<std::ptrdiff_t>(expected.size()),
                                         out.end(), 0xEE),
                              16);
                }
            }
        }
    }
}

TEST(SwappingCopy, LongRunsSwapInPlace) {
    for (size_t size : {2, 4, 8}) {
        SCOPED_TRACE(size);
        std::vector<uint8_t> data = patternOf(1000 * 8 + 3);
        const std::vector<uint8_t> expected = expectedCopy(data, size, 0, 1);
        Tessel::swappingCopy(size, data.data(), data.data(), data.size(), 0, 1);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), data.begin()));
    }
}

#if defined(__x86_64__)
// The gather itself is taken on the processors that have byte shuffles: it writes whole
// groups of 16 bytes and leaves the end of a run to its caller.
TEST(ShuffleGather, TakesWholeGroupsOfSixteenBytesWhereTheProcessorShuffles) {
    if (__builtin_cpu_supports("ssse3") == 0) {
        GTEST_SKIP() << "no byte shuffles on this processor";
    }
    const std::vector<uint8_t> source = patternOf(3 * 1000 + 2);
    std::vector<uint8_t> out(1001, 0xEE);
    const size_t written = Tessel::shuffleGather(1, source.data(), out.data(), source.size(), 1, 3);
    EXPECT_EQ(written, 992u);  // 62 groups of 16 from 48 bytes each
    const std::vector<uint8_t> expected = expectedCopy(source, 1, 1, 3);
    EXPECT_TRUE(std::equal(out.begin(), out.begin() + 992, expected.begin()));
    EXPECT_EQ(out[992], 0xEE);
    EXPECT_EQ(Tessel::shuffleGather(1, source.data(), out.data(), source.size(), 0, 5), 0u);
    EXPECT_EQ(Tessel::shuffleGather(1, source.data(), out.data(), source.size(), 3, 3), 0u);
    EXPECT_EQ(Tessel::shuffleGather(3, source.data(), out.data(), source.size(), 0, 1), 0u);
}
#endif

TEST(SwappingCopy, OtherElementSizesLeaveTheDestination) {
    const std::vector<uint8_t> data{1, 2, 3, 4, 5, 6};
    std::vector<uint8_t> out(6, 0xAB);
    Tessel::swappingCopy(3, data.data(), out.data(), data.size(), 0, 1);
    Tessel::swappingCopy(0, data.data(), out.data(), data.size(), 0, 1);
    EXPECT_EQ(out, std::vector<uint8_t>(6, 0xAB));
}

TEST(SwappingCopy, AnOddLengthStopsAtTheLastWholeElement) {
    const std::vector<uint8_t> data{1, 2, 3, 4, 5};
    std::vector<uint8_t> out(4, 0xAB);
    Tessel::swappingCopy(2, data.data(), out.data(), data.size(), 0, 1);
    EXPECT_EQ(out, (std::vector<uint8_t>{2, 1, 4, 3}));
}
