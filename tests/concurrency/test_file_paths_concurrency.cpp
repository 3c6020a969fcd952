#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/TestPaths.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFileContext.h"

using Tessel::NITFFactory;
using Tessel::NITFFile;
using Tessel::NITFFileContext;
using Tessel::NITFMessages;
using Tessel::NITFURI;

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 200;

// Runs `read` on many threads at once, `kRounds` times each; counts wrong answers.
template <typename Read>
int readEverywhere(Read&& read) {
    std::atomic<int> wrong{0};
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            for (int i = 0; i < kRounds; ++i) {
                if (!read(t, i)) {
                    ++wrong;
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    return wrong.load();
}

}  // namespace

// An opened file is read from many threads with no lock: header fields, TRE fields in a
// repeated group, segment bodies kept in the block cache, and whole-file documents.
TEST(FilePathsConcurrency, OneOpenedFileReadFromManyThreads) {
    NITFMessages messages;
    const NITFFileContext context =
        NITFFactory::get().open(NITFURI(std::string_view(TESSEL_SAMPLE_FILE)), messages);
    ASSERT_TRUE(context);
    const std::string json = context.getISD("JSON");
    const std::string body = context.getPathString("/DESs/0/Data", "");
    ASSERT_FALSE(body.empty());
    const int wrong = readEverywhere([&](int thread, int round) {
        switch ((thread + round) % 5) {
            case 0:
                return context.getPathString("/FileHeader/FTITLE", "") == "TesselLib sample";
            case 1:
                return context.getPathInt("/Images/1/NROWS", -1) == 16;
            case 2:
                return context.getPathString("/TRE/RPC00B/LINE_NUM_COEFF/_count", "") == "20";
            case 3:
                return context.getPathString("/DESs/0/Data", "") == body;
            default:
                return round % 20 != 0 || context.getISD("JSON") == json;
        }
    });
    EXPECT_EQ(wrong, 0);
}

// Segment bodies of a fresh file are read on many threads at once: each reads what the
// first read keeps, though all of them share the file's one input.
TEST(FilePathsConcurrency, FirstReadsOfSegmentBodiesFromManyThreads) {
    const NITFURI uri{std::string_view(TESSEL_SAMPLE_FILE)};
    NITFMessages messages;
    const NITFFile reference(uri, messages);
    const std::string des = reference.getPathString(0, "/DESs/0/Data?format=RAW", "");
    const std::string text = reference.getPathString(0, "/Text/0/Data?format=RAW", "");
    ASSERT_FALSE(des.empty());
    ASSERT_FALSE(text.empty());
    int wrong = 0;
    for (int round = 0; round < 20; ++round) {
        const auto file = std::make_shared<NITFFile>(uri, messages);
        std::latch start(kThreads);
        std::atomic<int> bad{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, t] {
                start.arrive_and_wait();
                const bool textFirst = t % 2 == 0;
                const std::string first = file->getPathString(
                    0, textFirst ? "/Text/0/Data?format=RAW" : "/DESs/0/Data?format=RAW", "");
                if (first != (textFirst ? text : des)) {
                    ++bad;
                }
            });
        }
        for (auto& thread : threads) {
            thread.join();
        }
        wrong += bad.load();
    }
    EXPECT_EQ(wrong, 0);
}

// A file made for writing takes its record lock for every read; reads from many threads
// still agree.
TEST(FilePathsConcurrency, OneWritableFileReadFromManyThreads) {
    const auto file = std::make_shared<NITFFile>();
    const int wrong = readEverywhere([&](int thread, int) {
        if (thread % 2 == 0) {
            return file->getPathString(0, "/FileHeader/FHDR", "") == "NITF";
        }
        return file->getPathInt(0, "/FileHeader/NUMI", -1) == 0 && !file->getISD("XML").empty();
    });
    EXPECT_EQ(wrong, 0);
}
