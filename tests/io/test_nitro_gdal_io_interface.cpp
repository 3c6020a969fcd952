#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/IOTesting.h"
#include "support/TestPaths.h"
#include "tessel/io/IOPool.h"
#include "tessel/io/NitroGdalIOInterface.h"
#include "tessel/platform/nitf.h"

using namespace Tessel;
using tessel_test::patternBytes;
using tessel_test::ScopedIOPool;
using tessel_test::TempFile;

namespace {

// An interface that ends with the test.
struct Interface {
    Interface(const NITFURI& uri, nrt_AccessFlags access)
        : io(NitroGdalIOInterface::Create(uri, access, &error)) {}
    ~Interface() { nrt_IOInterface_destruct(&io); }
    Interface(const Interface&) = delete;
    Interface& operator=(const Interface&) = delete;

    NitroGdalIOInterface& object() const { return *static_cast<NitroGdalIOInterface*>(io->data); }

    nrt_Error error{};
    nrt_IOInterface* io = nullptr;
};

std::vector<uint8_t> readThrough(nrt_IOInterface* io, size_t count, nrt_Error* error) {
    std::vector<uint8_t> bytes(count, 0xAA);
    EXPECT_TRUE(nrt_IOInterface_read(io, bytes.data(), count, error)) << error->message;
    return bytes;
}

}  // namespace

TEST(NitroGdalIOInterface, SeekFromTheEndSubtractsTheOffset) {
    ScopedIOPool pool(10, 4096);
    TempFile file(100);
    Interface in(file.uri(), NRT_ACCESS_READONLY);
    ASSERT_NE(in.io, nullptr) << in.error.message;
    EXPECT_EQ(nrt_IOInterface_seek(in.io, 10, 2, &in.error), 90);
    EXPECT_EQ(nrt_IOInterface_tell(in.io, &in.error), 90);
    EXPECT_EQ(nrt_IOInterface_seek(in.io, 0, 2, &in.error), 100);
}

TEST(NitroGdalIOInterface, SeekFromStartAndFromHereAndUnknownOrigin) {
    ScopedIOPool pool(10, 4096);
    TempFile file(100);
    Interface in(file.uri(), NRT_ACCESS_READONLY);
    ASSERT_NE(in.io, nullptr);
    EXPECT_EQ(nrt_IOInterface_seek(in.io, 30, 0, &in.error), 30);
    EXPECT_EQ(nrt_IOInterface_seek(in.io, 5, 1, &in.error), 35);
    EXPECT_EQ(nrt_IOInterface_seek(in.io, -10, 1, &in.error), 25);
    EXPECT_EQ(nrt_IOInterface_seek(in.io, 70, 7, &in.error), 25);
    EXPECT_EQ(readThrough(in.io, 10, &in.error), patternBytes(25, 10));
    EXPECT_EQ(nrt_IOInterface_tell(in.io, &in.error), 35);
}

TEST(NitroGdalIOInterface, ModeIsReadWriteEvenForReadOnly) {
    ScopedIOPool pool(10, 4096);
    TempFile file(100);
    Interface in(file.uri(), NRT_ACCESS_READONLY);
    ASSERT_NE(in.io, nullptr);
    EXPECT_EQ(static_cast<uint32_t>(nrt_IOInterface_getMode(in.io, &in.error)),
              NRT_ACCESS_READWRITE);
    EXPECT_EQ(in.object().mode(), "r");
}

TEST(NitroGdalIOInterface, ModeTextFollowsTheAccessCode) {
    ScopedIOPool pool(10, 4096);
    TempFile file(100);
    Interface other(file.uri(), 0x1234);
    ASSERT_NE(other.io, nullptr);
    EXPECT_EQ(other.object().mode(), "r");
    {
        Interface write(file.uri(), NRT_ACCESS_WRITEONLY);
        ASSERT_NE(write.io, nullptr);
        EXPECT_EQ(write.object().mode(), "w");
    }
    Interface both(file.uri(), NRT_ACCESS_READWRITE);
    ASSERT_NE(both.io, nullptr);
    EXPECT_EQ(both.object().mode(), "w+");
}

TEST(NitroGdalIOInterface, CanSeekAndCloseAnswerTrue) {
    ScopedIOPool pool(10, 4096);
    TempFile file(100);
    Interface in(file.uri(), NRT_ACCESS_READONLY);
    ASSERT_NE(in.io, nullptr);
    EXPECT_TRUE(nrt_IOInterface_canSeek(in.io, &in.error));
    EXPECT_TRUE(nrt_IOInterface_close(in.io, &in.error));
    // Close ends nothing: reads go on.
    EXPECT_EQ(readThrough(in.io, 4, &in.error), patternBytes(0, 4));
}

TEST(NitroGdalIOInterface, ReadsComeThroughTheBlockPool) {
    ScopedIOPool pool(10, 64);
    TempFile file(1000);
    Interface in(file.uri(), NRT_ACCESS_READONLY);
    ASSERT_NE(in.io, nullptr);
    nrt_IOInterface_seek(in.io, 100, 0, &in.error);
    EXPECT_EQ(readThrough(in.io, 200, &in.error), patternBytes(100, 200));
    EXPECT_EQ(nrt_IOInterface_tell(in.io, &in.error), 300);
    EXPECT_EQ(readThrough(in.io, 50, &in.error), patternBytes(300, 50));
    // The probe read block 0..3 (256 bytes); the reads added blocks 4 and 5.
    EXPECT_EQ(IOPool::GetMetrics().reads, 6u);
}

TEST(NitroGdalIOInterface, ProbeBringsTheHeadIntoTheCache) {
    ScopedIOPool pool(10, 1024);
    TempFile file(3000);
    Interface in(file.uri(), NRT_ACCESS_READONLY);
    ASSERT_NE(in.io, nullptr);
    EXPECT_EQ(IOPool::GetMetrics().reads, 1u);
    readThrough(in.io, 1000, &in.error);
    EXPECT_EQ(IOPool::GetMetrics().reads, 1u);
}

TEST(NitroGdalIOInterface, ReadPastTheEndOnABlockBorderIsAReadError) {
    ScopedIOPool pool(10, 256);
    TempFile file(512);  // exactly two blocks
    Interface in(file.uri(), NRT_ACCESS_READONLY);
    ASSERT_NE(in.io, nullptr);
    nrt_IOInterface_seek(in.io, 256, 0, &in.error);
    std::vector<uint8_t> bytes(512);
    EXPECT_FALSE(nrt_IOInterface_read(in.io, bytes.data(), bytes.size(), &in.error));
    EXPECT_STREQ(in.error.message, "Read Error");
    EXPECT_STREQ(in.error.func, "read");
    EXPECT_EQ(in.error.level, NRT_ERR_READING_FROM_FILE);
    EXPECT_EQ(nrt_IOInterface_tell(in.io, &in.error), 256);
}

TEST(NitroGdalIOInterface, ReadEndingInsideTheLastBlockMovesByTheCountAsked) {
    ScopedIOPool pool(10, 256);
    TempFile file(600);  // the last block holds 88 bytes
    Interface in(file.uri(), NRT_ACCESS_READONLY);
    ASSERT_NE(in.io, nullptr);
    nrt_IOInterface_seek(in.io, 590, 0, &in.error);
    const auto bytes = readThrough(in.io, 20, &in.error);
    EXPECT_EQ(nrt_IOInterface_tell(in.io, &in.error), 610);
    std::vector<uint8_t> expected = patternBytes(590, 10);
    expected.resize(20, 0);
    EXPECT_EQ(bytes, expected);
}

TEST(NitroGdalIOInterface, ReadOfNothingIsAReadError) {
    ScopedIOPool pool(10, 256);
    TempFile file(400);
    Interface in(file.uri(), NRT_ACCESS_READONLY);
    ASSERT_NE(in.io, nullptr);
    uint8_t byte = 0;
    EXPECT_FALSE(nrt_IOInterface_read(in.io, &byte, 0, &in.error));
    EXPECT_STREQ(in.error.message, "Read Error");
    EXPECT_EQ(in.error.level, NRT_ERR_READING_FROM_FILE);
}

TEST(NitroGdalIOInterface, MissingFileFailsTheProbeWithTheUri) {
    ScopedIOPool pool(10, 4096);
    Interface in(NITFURI(L"/no/such/folder/missing.ntf"), NRT_ACCESS_READONLY);
    EXPECT_EQ(in.io, nullptr);
    EXPECT_STREQ(in.error.message, "/no/such/folder/missing.ntf: Read Failed");
    EXPECT_STREQ(in.error.func, "NitroGDALIOInterface");
    EXPECT_EQ(in.error.level, NRT_ERR_OPENING_FILE);
}

TEST(NitroGdalIOInterface, ProbeFailureThrowsTheErrorText) {
    ScopedIOPool pool(10, 4096);
    nrt_Error error{};
    try {
        NitroGdalIOInterface object(NITFURI(L"/no/such/folder/missing.ntf"), NRT_ACCESS_READONLY,
                                    &error);
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "/no/such/folder/missing.ntf: Read Failed");
    }
}

TEST(NitroGdalIOInterface, FailuresWithoutAnErrorRecordStillFailCleanly) {
    ScopedIOPool pool(10, 4096);
    EXPECT_EQ(NitroGdalIOInterface::Create(NITFURI(L"/no/such.ntf"), NRT_ACCESS_READONLY, nullptr),
              nullptr);
    TempFile file(100);
    nrt_IOInterface* io = NitroGdalIOInterface::Create(file.uri(), NRT_ACCESS_READONLY, nullptr);
    ASSERT_NE(io, nullptr);
    uint8_t byte = 0;
    EXPECT_FALSE(nrt_IOInterface_read(io, &byte, 0, nullptr));
    nrt_IOInterface_destruct(&io);
}

TEST(NitroGdalIOInterface, ShortFilePassesTheProbe) {
    ScopedIOPool pool(10, 4096);
    TempFile file(10);
    Interface in(file.uri(), NRT_ACCESS_READONLY);
    ASSERT_NE(in.io, nullptr) << in.error.message;
    EXPECT_EQ(readThrough(in.io, 10, &in.error), patternBytes(0, 10));
}

TEST(NitroGdalIOInterface, SizeIsAskedAtEachCall) {
    ScopedIOPool pool(10, 4096);
    TempFile file(100);
    Interface in(file.uri(), NRT_ACCESS_READONLY);
    ASSERT_NE(in.io, nullptr);
    EXPECT_EQ(nrt_IOInterface_getSize(in.io, &in.error), 100);
    file.write(patternBytes(0, 250));
    EXPECT_EQ(nrt_IOInterface_getSize(in.io, &in.error), 250);
}

TEST(NitroGdalIOInterface, WriteWithoutAHandleFails) {
    ScopedIOPool pool(10, 4096);
    TempFile file(100);
    Interface in(file.uri(), NRT_ACCESS_READONLY);
    ASSERT_NE(in.io, nullptr);
    const char bytes[] = "abc";
    EXPECT_FALSE(nrt_IOInterface_write(in.io, bytes, 3, &in.error));
    EXPECT_EQ(nrt_IOInterface_getSize(in.io, &in.error), 100);
}

TEST(NitroGdalIOInterface, WritesGoToTheFileAtThePosition) {
    ScopedIOPool pool(10, 4096);
    TempFile file(0);
    {
        Interface out(file.uri(), NRT_ACCESS_READWRITE);
        ASSERT_NE(out.io, nullptr);
        const auto head = patternBytes(0, 100);
        ASSERT_TRUE(nrt_IOInterface_write(out.io, head.data(), head.size(), &out.error));
        EXPECT_EQ(nrt_IOInterface_tell(out.io, &out.error), 100);
        nrt_IOInterface_seek(out.io, 10, 0, &out.error);
        const char patch[] = "XY";
        ASSERT_TRUE(nrt_IOInterface_write(out.io, patch, 2, &out.error));
        EXPECT_EQ(nrt_IOInterface_getSize(out.io, &out.error), 100);
    }
    auto expected = patternBytes(0, 100);
    expected[10] = 'X';
    expected[11] = 'Y';
    std::vector<uint8_t> bytes(100);
    IOPool::Read(file.uri(), 0, 100, bytes.data()).get();
    EXPECT_EQ(bytes, expected);
}

TEST(NitroGdalIOInterface, WriteOfNothingIsAnError) {
    ScopedIOPool pool(10, 4096);
    TempFile file(0);
    Interface out(file.uri(), NRT_ACCESS_WRITEONLY);
    ASSERT_NE(out.io, nullptr);
    EXPECT_FALSE(nrt_IOInterface_write(out.io, "", 0, &out.error));
    EXPECT_STREQ(out.error.message, "Read Error");
    EXPECT_STREQ(out.error.func, "write");
    EXPECT_EQ(out.error.level, NRT_ERR_WRITING_TO_FILE);
}

TEST(NitroGdalIOInterface, CreationFailureGivesNoInterface) {
    ScopedIOPool pool(10, 4096);
    nrt_Error error{};
    EXPECT_EQ(NitroGdalIOInterface::Create(NITFURI(L"/no/such/folder/new.ntf"),
                                           NRT_ACCESS_READWRITE, &error),
              nullptr);
    try {
        NitroGdalIOInterface object(NITFURI(L"/no/such/folder/new.ntf"), NRT_ACCESS_WRITEONLY,
                                    &error);
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "File creation failed.");
    }
}

TEST(NitroGdalIOInterface, WritingAndDestroyingDropsTheCachedHead) {
    ScopedIOPool pool(100, 256);
    TempFile file(1024);
    {
        Interface in(file.uri(), NRT_ACCESS_READONLY);
        ASSERT_NE(in.io, nullptr);
        EXPECT_EQ(readThrough(in.io, 1024, &in.error), patternBytes(0, 1024));
    }
    EXPECT_EQ(IOPool::GetMetrics().cachedBlocks, 4u);
    std::vector<uint8_t> replacement(1024, 0x5A);
    {
        Interface out(file.uri(), NRT_ACCESS_READWRITE);
        ASSERT_NE(out.io, nullptr);
        ASSERT_TRUE(
            nrt_IOInterface_write(out.io, replacement.data(), replacement.size(), &out.error));
        EXPECT_EQ(IOPool::GetMetrics().cachedBlocks, 4u);  // still cached while writing
    }
    EXPECT_EQ(IOPool::GetMetrics().cachedBlocks, 0u);
    Interface again(file.uri(), NRT_ACCESS_READONLY);
    ASSERT_NE(again.io, nullptr);
    EXPECT_EQ(readThrough(again.io, 1024, &again.error), replacement);
}

TEST(NitroGdalIOInterface, ReadingInterfaceLeavesTheCacheOnDestruction) {
    ScopedIOPool pool(100, 64);
    TempFile file(1024);
    {
        Interface in(file.uri(), NRT_ACCESS_READONLY);
        ASSERT_NE(in.io, nullptr);
    }
    EXPECT_EQ(IOPool::GetMetrics().cachedBlocks, 4u);  // the probe's 256 bytes
}

TEST(NitroGdalIOInterface, ReaderParsesTheSampleFile) {
    ScopedIOPool pool(1000, 4096, 4);
    const NITFURI uri{std::string_view(TESSEL_SAMPLE_FILE)};
    nrt_Error error{};
    nrt_IOInterface* io = NitroGdalIOInterface::Create(uri, NRT_ACCESS_READONLY, &error);
    ASSERT_NE(io, nullptr) << error.message;
    nitf_Reader* reader = nitf_Reader_construct(&error);
    nitf_Record* record = nitf_Reader_readIO(reader, io, &error);
    ASSERT_NE(record, nullptr) << error.message;
    EXPECT_GE(nitf_Record_getNumImages(record, &error), 1u);
    nitf_Record_destruct(&record);
    nitf_Reader_destruct(&reader);
    nrt_IOInterface_destruct(&io);
    EXPECT_EQ(io, nullptr);
}
