#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "tessel/core/RecycledBuffers.h"

namespace Tessel {
namespace {

class RecycledBuffersTest : public ::testing::Test {
protected:
    void SetUp() override { RecycledBuffers::release(); }
    void TearDown() override { RecycledBuffers::release(); }
};

constexpr size_t kLarge = 1024 * 1024;

TEST_F(RecycledBuffersTest, BufferHandedBackServesTheNextRequestOfTheSameSize) {
    uint8_t* first = RecycledBuffers::take(kLarge);
    RecycledBuffers::give(first, kLarge);
    EXPECT_EQ(RecycledBuffers::retainedBytes(), kLarge);
    uint8_t* second = RecycledBuffers::take(kLarge);
    EXPECT_EQ(second, first);
    EXPECT_EQ(RecycledBuffers::retainedBytes(), 0u);
    RecycledBuffers::give(second, kLarge);
}

TEST_F(RecycledBuffersTest, BufferOfAnotherSizeIsNotReused) {
    uint8_t* first = RecycledBuffers::take(kLarge);
    RecycledBuffers::give(first, kLarge);
    uint8_t* other = RecycledBuffers::take(2 * kLarge);
    EXPECT_NE(other, first);
    EXPECT_EQ(RecycledBuffers::retainedBytes(), kLarge);
    RecycledBuffers::give(other, 2 * kLarge);
    EXPECT_EQ(RecycledBuffers::retainedBytes(), 3 * kLarge);
}

TEST_F(RecycledBuffersTest, SmallBuffersGoStraightBackToTheCLibrary) {
    uint8_t* small = RecycledBuffers::take(100);
    RecycledBuffers::give(small, 100);
    EXPECT_EQ(RecycledBuffers::retainedBytes(), 0u);
}

TEST_F(RecycledBuffersTest, RetainedBytesStayUnderTheLimit) {
    const size_t count = RecycledBuffers::retained_limit / kLarge + 8;
    std::vector<uint8_t*> buffers;
    for (size_t i = 0; i < count; ++i) {
        buffers.push_back(RecycledBuffers::take(kLarge));
    }
    for (uint8_t* buffer : buffers) {
        RecycledBuffers::give(buffer, kLarge);
    }
    EXPECT_EQ(RecycledBuffers::retainedBytes(), RecycledBuffers::retained_limit);
    RecycledBuffers::release();
    EXPECT_EQ(RecycledBuffers::retainedBytes(), 0u);
}

TEST_F(RecycledBuffersTest, EveryBufferIsAlignedAndZeroSizeIsAllowed) {
    for (size_t size : {size_t{0}, size_t{1}, size_t{1000}, kLarge + 3}) {
        uint8_t* buffer = RecycledBuffers::take(size);
        ASSERT_NE(buffer, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(buffer) % RecycledBuffers::alignment, 0u) << size;
        std::memset(buffer, 0xAB, size);  // the whole size is writable (checked under ASan)
        RecycledBuffers::give(buffer, size);
    }
    RecycledBuffers::give(nullptr, kLarge);  // ignored
}

TEST_F(RecycledBuffersTest, VectorOverTheAllocatorKeepsWhatWasWrittenAcrossAResize) {
    std::vector<uint8_t, RecycledBuffers::Allocator<uint8_t>> bytes(4, 7);
    EXPECT_EQ(bytes, (std::vector<uint8_t, RecycledBuffers::Allocator<uint8_t>>{7, 7, 7, 7}));
    bytes.resize(kLarge);
    bytes[kLarge - 1] = 9;
    bytes.resize(2);
    EXPECT_EQ(bytes.size(), 2u);
    EXPECT_EQ(bytes[0], 7);
}

TEST_F(RecycledBuffersTest, VectorStorageReturnsToTheStoreWhenTheVectorGoes) {
    {
        std::vector<uint8_t, RecycledBuffers::Allocator<uint8_t>> bytes;
        bytes.resize(kLarge);
    }
    EXPECT_EQ(RecycledBuffers::retainedBytes(), kLarge);
}

}  // namespace
}  // namespace Tessel
