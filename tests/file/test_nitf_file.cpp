#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "support/FileTestSupport.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"

using file_test::headerOnlyFile;
using file_test::TempDir;
using file_test::uriOf;
using file_test::writeFile;
using Tessel::NITFFactory;
using Tessel::NITFFile;
using Tessel::NITFMessages;
using Tessel::NITFType;

TEST(NITFFile, Nitf21WithReservedNumxSetFailsWithoutMessage) {
    TempDir dir;
    writeFile(dir / "numx.ntf", headerOnlyFile(false, 1));
    NITFMessages messages;
    try {
        NITFFile file(uriOf(dir / "numx.ntf"), messages);
        FAIL() << "a NITF 2.10 file with NUMX 001 must not open";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "NITF/NUMX != 000");
    }
    EXPECT_TRUE(messages.empty());
}

TEST(NITFFile, FactoryOpenOfReservedNumxGivesEmptyContextAndNoMessage) {
    TempDir dir;
    writeFile(dir / "numx.ntf", headerOnlyFile(false, 1));
    NITFMessages messages;
    const auto context = NITFFactory::get().open(uriOf(dir / "numx.ntf"), messages);
    EXPECT_FALSE(context);
    EXPECT_TRUE(messages.empty());
}

TEST(NITFFile, Nitf20WithLabelsOpens) {
    TempDir dir;
    writeFile(dir / "labels.ntf", headerOnlyFile(true, 1));
    NITFMessages messages;
    const NITFFile file(uriOf(dir / "labels.ntf"), messages);
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(file.getNITFVersion(), NITFType::NITF20);
    EXPECT_EQ(file.getNumberImages(), 0u);
}

TEST(NITFFile, Nitf21WithoutLabelsOpens) {
    TempDir dir;
    writeFile(dir / "plain.ntf", headerOnlyFile(false, 0));
    NITFMessages messages;
    const NITFFile file(uriOf(dir / "plain.ntf"), messages);
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(file.getNITFVersion(), NITFType::NITF21);
}

TEST(NITFFile, FileShorterThanItsHeaderFailsInParseWithOneMessage) {
    TempDir dir;
    writeFile(dir / "short.ntf", file_test::sampleBytes().substr(0, 300));
    NITFMessages messages;
    EXPECT_THROW(NITFFile(uriOf(dir / "short.ntf"), messages), std::runtime_error);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].rfind("/NITF Parse: ", 0), 0u) << messages[0];
}

TEST(NITFFile, ConstructorThrowsTheFirstMessage) {
    TempDir dir;
    writeFile(dir / "text.ntf", "This is no NITF file, only words.");
    NITFMessages messages;
    try {
        NITFFile file(uriOf(dir / "text.ntf"), messages);
        FAIL() << "text must not open";
    } catch (const std::runtime_error& error) {
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(error.what(), messages[0]);
    }
}

TEST(NITFFile, OpenedFileIsReadOnlyWithReaderRecordAndInput) {
    TempDir dir;
    writeFile(dir / "sample.ntf", file_test::sampleBytes());
    NITFMessages messages;
    NITFFile file(uriOf(dir / "sample.ntf"), messages);
    auto& state = *file.getPrivate();
    EXPECT_TRUE(state.isReadOnly());
    EXPECT_NE(state.getRecord(), nullptr);
    EXPECT_NE(state.getReader(), nullptr);
    EXPECT_NE(state.getIO(), nullptr);
    EXPECT_EQ(state.getOwner(), &file);
    EXPECT_EQ(state.getURI().cacheKey(), file_test::keyOf(dir / "sample.ntf"));
    EXPECT_EQ(file.getNumberImages(), 2u);
    EXPECT_EQ(file.getNITFVersion(), NITFType::NITF21);
}

TEST(NITFFile, NewFileIsAWritableNitf21RecordWithoutReader) {
    NITFFile file;
    auto& state = *file.getPrivate();
    EXPECT_FALSE(state.isReadOnly());
    ASSERT_NE(state.getRecord(), nullptr);
    EXPECT_EQ(state.getReader(), nullptr);
    EXPECT_EQ(state.getIO(), nullptr);
    EXPECT_EQ(file.getNITFVersion(), NITFType::NITF21);
    EXPECT_EQ(file.getNumberImages(), 0u);
    const auto lock = state.lockRecord();
    EXPECT_TRUE(lock.owns_lock());
}

TEST(NITFFile, ReadOnlyFileTakesNoRecordLock) {
    TempDir dir;
    writeFile(dir / "plain.ntf", headerOnlyFile(false));
    NITFMessages messages;
    NITFFile file(uriOf(dir / "plain.ntf"), messages);
    EXPECT_FALSE(file.getPrivate()->lockRecord().owns_lock());
}

TEST(NITFFileContext, EmptyContextAnswersZeroAndThrowsNoFile) {
    const Tessel::NITFFileContext context(uriOf("/nowhere/a.ntf"));
    EXPECT_FALSE(context);
    EXPECT_EQ(context.getNITFVersion(), NITFType::Unknown);
    EXPECT_EQ(context.getNumberImages(), 0u);
    EXPECT_EQ(context.getURI().cacheKey(), L"/nowhere/a.ntf");
    try {
        context.getFile();
        FAIL() << "an empty context has no file";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "No File");
    }
}

TEST(NITFFileContext, MoveAssignmentSwapsFiles) {
    TempDir dir;
    writeFile(dir / "a.ntf", headerOnlyFile(false));
    NITFMessages messages;
    auto opened = NITFFactory::get().open(uriOf(dir / "a.ntf"), messages);
    ASSERT_TRUE(opened);
    NITFFile* file = &opened.getFile();
    Tessel::NITFFileContext target(uriOf(dir / "b.ntf"));
    target = std::move(opened);
    EXPECT_TRUE(target);
    EXPECT_EQ(&target.getFile(), file);
    EXPECT_EQ(target.getURI().cacheKey(), file_test::keyOf(dir / "a.ntf"));
    EXPECT_FALSE(opened);  // NOLINT(bugprone-use-after-move): the swap left it empty
    EXPECT_EQ(opened.getURI().cacheKey(), file_test::keyOf(dir / "b.ntf"));

    Tessel::NITFFileContext moved(std::move(target));
    EXPECT_EQ(&moved.getFile(), file);
}
