// Files of a few hundred bytes whose image subheaders claim the largest block grids their
// fields allow. Tables are sized by what the file holds, never by the claim: the block table
// the factory reports stays small, and (under a sanitizer) no single allocation made while
// the image opens and reads comes near the claimed sizes.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>
#include <vector>

#include <sys/resource.h>

#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "support/ImageTestFiles.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/image/NITFImage.h"
#include "tessel/image/NITFTileFactory.h"
#include "tessel/image/TilePool.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TESSEL_CLAIM_HOOKS 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) && !defined(TESSEL_CLAIM_HOOKS)
#define TESSEL_CLAIM_HOOKS 1
#endif

#if defined(TESSEL_CLAIM_HOOKS)
#include <sanitizer/allocator_interface.h>
#endif

using namespace Tessel;

namespace {

// The largest single allocation seen while a watch is on.
std::atomic<bool> claimWatching{false};
std::atomic<size_t> claimLargest{0};

#if defined(TESSEL_CLAIM_HOOKS)
void claimOnMalloc(const volatile void* /*pointer*/, size_t size) {
    if (!claimWatching.load(std::memory_order_relaxed)) {
        return;
    }
    size_t seen = claimLargest.load(std::memory_order_relaxed);
    while (size > seen && !claimLargest.compare_exchange_weak(seen, size)) {
    }
}
void claimOnFree(const volatile void* /*pointer*/) {}
#endif

// Watches allocations for its lifetime; `available` is false without sanitizer hooks.
class LargestAllocation {
public:
    LargestAllocation() {
#if defined(TESSEL_CLAIM_HOOKS)
        static const bool installed =
            __sanitizer_install_malloc_and_free_hooks(claimOnMalloc, claimOnFree) != 0;
        available_ = installed;
#endif
        claimLargest = 0;
        claimWatching = true;
    }
    ~LargestAllocation() {
        claimWatching = false;
    }
    LargestAllocation(const LargestAllocation&) = delete;
    LargestAllocation& operator=(const LargestAllocation&) = delete;

    bool available() const {
        return available_;
    }
    size_t largest() const {
        return claimLargest.load();
    }

private:
    bool available_ = false;
};

// No table of these files needs more than this; the claims ask for gigabytes.
constexpr size_t kClaimAllocationLimit = size_t{16} << 20;

// An 8 x 8 image of 1 x 1 blocks that claims 9999 x 9999 of them.
image_test::ImageLayout claimingGrid(const std::string& ic, const std::string& imode,
                                     size_t bandCount, std::string data) {
    image_test::ImageLayout layout;
    layout.rows = 8;
    layout.cols = 8;
    layout.nbpr = 9999;
    layout.nbpc = 9999;
    layout.nppbh = 1;
    layout.nppbv = 1;
    layout.ic = ic;
    if (ic != "NC" && ic != "NM") {
        layout.comrat = "00.0";
    }
    layout.imode = imode;
    layout.bands = image_test::bands(bandCount);
    if (bandCount > 1) {
        layout.irep = "MULTI";
    }
    layout.data = std::move(data);
    return layout;
}

// A mask table without block or pad records: the blocks follow one another.
std::string recordlessMask() {
    using image_test::bigEndian;
    return bigEndian(10, 4) + bigEndian(0, 2) + bigEndian(0, 2) + bigEndian(0, 2) +
           std::string(64, '\x05');
}

// Writes the file into `folder`, opens the image, reads the first and the last claimed block
// of every band, and returns the factory's block table length (0 when the image refused to
// open, SIZE_MAX when the file didn't).
size_t openAndReadClaim(const std::filesystem::path& folder, const image_test::ImageLayout& layout,
                        size_t& fileBytes) {
    const auto path = folder / "claim.ntf";
    const std::string bytes = image_test::ImageFileBuilder().add(layout).bytes();
    fileBytes = bytes.size();
    file_test::writeFile(path, bytes);
    image_test::OpenImage opened;
    try {
        opened = image_test::openImage(path);
    } catch (const std::exception&) {
        return 0;  // the image refused to open: no table at all
    }
    if (!opened.image) {
        return SIZE_MAX;
    }
    const auto* factory = dynamic_cast<const NITFTileFactory*>(opened->getTileFactory());
    if (factory == nullptr) {
        return SIZE_MAX;
    }
    EXPECT_EQ(factory->getBlocksX(), 9999U);
    EXPECT_EQ(factory->getBlocksY(), 9999U);
    std::vector<uint8_t> block;
    for (uint32_t band = 0; band < factory->getNumBands(); ++band) {
        opened->readBlock(0, 0, static_cast<int>(band), block);
        opened->readBlock(9998, 9998, static_cast<int>(band), block);
    }
    return factory->getBlockTable().size();
}

class ClaimedSizes : public ::testing::Test {
protected:
    void TearDown() override {
        NITFFactory::get().clearCache();
        TilePool::get()->clearCache(nullptr);
    }

    size_t openAndRead(const image_test::ImageLayout& layout, size_t& fileBytes) {
        return openAndReadClaim(dir_.path(), layout, fileBytes);
    }

    void expectBoundedAllocations(const LargestAllocation& watch, size_t fileBytes) {
        if (watch.available()) {
            EXPECT_LT(watch.largest(), kClaimAllocationLimit)
                << "a file of " << fileBytes << " bytes";
        }
    }

    file_test::TempDir dir_;
};

}  // namespace

TEST_F(ClaimedSizes, BlockTableOfBlockInterleavedGridIsSizedByTheFile) {
    size_t fileBytes = 0;
    LargestAllocation watch;
    const size_t entries =
        openAndRead(claimingGrid("NC", "B", 1, std::string(64, '\x07')), fileBytes);
    ASSERT_NE(entries, SIZE_MAX);
    // 9999 x 9999 claimed; the data holds 64 one-byte blocks.
    EXPECT_LE(entries, 64U);
    EXPECT_LT(fileBytes, 4096U);
    expectBoundedAllocations(watch, fileBytes);
}

TEST_F(ClaimedSizes, BlockTableOfBandSequentialGridIsSizedByTheFile) {
    size_t fileBytes = 0;
    LargestAllocation watch;
    const size_t entries =
        openAndRead(claimingGrid("NC", "S", 2, std::string(64 * 2, '\x07')), fileBytes);
    ASSERT_NE(entries, SIZE_MAX);
    EXPECT_LE(entries, 64U * 2);
    expectBoundedAllocations(watch, fileBytes);
}

TEST_F(ClaimedSizes, MaskTableWithoutRecordsIsNotSizedByTheClaimedBlocks) {
    size_t fileBytes = 0;
    LargestAllocation watch;
    const size_t entries = openAndRead(claimingGrid("NM", "B", 1, recordlessMask()), fileBytes);
    ASSERT_NE(entries, SIZE_MAX);
    // Four bytes of mask per entry at most.
    EXPECT_LE(entries, fileBytes / 4);
    expectBoundedAllocations(watch, fileBytes);
}

TEST_F(ClaimedSizes, CompressedGridWithoutDecoderIsSizedByTheFile) {
    size_t fileBytes = 0;
    LargestAllocation watch;
    const size_t entries =
        openAndRead(claimingGrid("C1", "B", 1, std::string(40, '\x01')), fileBytes);
    ASSERT_NE(entries, SIZE_MAX);
    EXPECT_LE(entries, 40U);
    expectBoundedAllocations(watch, fileBytes);
}

TEST_F(ClaimedSizes, JpegGridIsSizedByTheFileOrRefused) {
    size_t fileBytes = 0;
    LargestAllocation watch;
    const size_t entries =
        openAndRead(claimingGrid("C3", "B", 1, std::string(40, '\x01')), fileBytes);
    ASSERT_NE(entries, SIZE_MAX);
    EXPECT_LE(entries, 40U);
    expectBoundedAllocations(watch, fileBytes);
}

TEST_F(ClaimedSizes, SanitizerHooksWatchAllocations) {
    LargestAllocation watch;
    if (!watch.available()) {
        GTEST_SKIP() << "no allocator hooks in this build";
    }
    const std::vector<uint8_t> big(size_t{1} << 22, 1);
    EXPECT_GE(watch.largest(), big.size());
}

TEST_F(ClaimedSizes, ComplexImageClaimingHundredMillionColumnsMakesNoStripOfThatSize) {
    // The form of a complex image: one block of two interleaved bands in IMODE P.
    image_test::ImageLayout layout;
    layout.rows = 5;
    layout.cols = 99999999;
    layout.nppbh = 5;
    layout.nppbv = 5;
    layout.imode = "P";
    layout.pvtype = "SI";
    layout.nbpp = 16;
    layout.abpp = 16;
    layout.irep = "NODISPLY";
    layout.icat = "SAR";
    layout.bands = {image_test::band("I"), image_test::band("Q")};
    layout.data = std::string(100, '\x01');
    const auto path = dir_.path() / "complex.ntf";
    image_test::ImageFileBuilder().add(layout).write(path);
    LargestAllocation watch;
    try {
        auto opened = image_test::openImage(path);
        if (opened.image) {
            std::vector<uint8_t> block;
            opened->readBlock(0, 0, 0, block);
        }
    } catch (const std::exception&) {
        // Refusing the image is a fine answer; a strip of 400 MB is not.
    }
    if (watch.available()) {
        EXPECT_LT(watch.largest(), kClaimAllocationLimit);
    }
}

namespace {

// The process's address space now, from /proc/self/status (VmSize, in kB); 0 when unknown.
rlim_t currentAddressSpace() {
    std::ifstream status("/proc/self/status");
    std::string key;
    while (status >> key) {
        if (key == "VmSize:") {
            rlim_t kilobytes = 0;
            status >> kilobytes;
            return kilobytes * 1024;
        }
        status.ignore(4096, '\n');
    }
    return 0;
}

// Opens and reads every claiming file with the address space limited to what the process
// holds plus `headroom`, far below what the claims would take; 0 when every file opened or
// was refused cleanly. Any allocation by claim fails here, and under a sanitizer ends the
// process.
int readClaimsUnderAddressSpaceLimit(rlim_t headroom) {
    const rlim_t now = currentAddressSpace();
    if (now == 0) {
        return 2;
    }
    const rlimit limit{now + headroom, now + headroom};
    if (setrlimit(RLIMIT_AS, &limit) != 0) {
        return 3;
    }
    int failures = 0;
    {
        file_test::TempDir dir;
        const image_test::ImageLayout layouts[] = {
            claimingGrid("NC", "B", 1, std::string(64, '\x07')),
            claimingGrid("NC", "S", 2, std::string(64 * 2, '\x07')),
            claimingGrid("NM", "B", 1, recordlessMask()),
            claimingGrid("C1", "B", 1, std::string(40, '\x01')),
            claimingGrid("C3", "B", 1, std::string(40, '\x01')),
        };
        for (const auto& layout : layouts) {
            size_t fileBytes = 0;
            try {
                if (openAndReadClaim(dir.path(), layout, fileBytes) == SIZE_MAX) {
                    ++failures;
                }
            } catch (const std::bad_alloc&) {
                ++failures;
            }
            NITFFactory::get().clearCache();
            TilePool::get()->clearCache(nullptr);
        }
    }
    return failures == 0 ? 0 : 1;
}

}  // namespace

// The claims ask for 1.6 GB and more; the child has 768 MB to spare.
TEST(ClaimedSizesUnderLimit, ClaimingFilesOpenAndReadWithinAnAddressSpaceLimit) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::exit(readClaimsUnderAddressSpaceLimit(rlim_t{768} << 20)),
                ::testing::ExitedWithCode(0), "");
}
