#include <gtest/gtest.h>

#include "tessel/platform/base/nitf_log.h"

#include "platform/scoped_environment.h"

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Line {
    int level;
    std::string text;
};

class LogTest : public ::testing::Test {
protected:
    void SetUp() override { savedThreshold_ = nitf_log::threshold(); }
    void TearDown() override {
        nitf_log::set_sink({});
        nitf_log::set_threshold(savedThreshold_);
    }

    void capture() {
        nitf_log::set_sink([this](int level, std::string_view text) {
            lines_.push_back({level, std::string(text)});
        });
    }

    std::vector<Line> lines_;

private:
    int savedThreshold_ = nitf_log::warning;
};

TEST_F(LogTest, SinkReceivesEveryEnabledLineWithItsLevel) {
    nitf_log::set_threshold(nitf_log::info);
    capture();
    nitf_log::write_logln(nitf_log::info, "starting");
    nitf_log::write_logln(nitf_log::warning, "careful");
    nitf_log::write_logln(nitf_log::error, "broken");
    ASSERT_EQ(lines_.size(), 3u);
    EXPECT_EQ(lines_[0].level, 0);
    EXPECT_EQ(lines_[0].text, "starting");
    EXPECT_EQ(lines_[1].level, 1);
    EXPECT_EQ(lines_[2].level, 2);
    EXPECT_EQ(lines_[2].text, "broken");
}

TEST_F(LogTest, LevelsBelowTheThresholdAreDisabledAndDropped) {
    nitf_log::set_threshold(nitf_log::error);
    capture();
    EXPECT_FALSE(nitf_log::is_enabled(nitf_log::info));
    EXPECT_FALSE(nitf_log::is_enabled(nitf_log::warning));
    EXPECT_TRUE(nitf_log::is_enabled(nitf_log::error));
    nitf_log::write_logln(nitf_log::warning, "dropped");
    nitf_log::write_logln(nitf_log::error, "kept");
    ASSERT_EQ(lines_.size(), 1u);
    EXPECT_EQ(lines_[0].text, "kept");
}

TEST_F(LogTest, OffDisablesEveryLevel) {
    nitf_log::set_threshold(nitf_log::threshold_off);
    capture();
    EXPECT_FALSE(nitf_log::is_enabled(nitf_log::error));
    nitf_log::write_logln(nitf_log::error, "nothing");
    EXPECT_TRUE(lines_.empty());
}

TEST_F(LogTest, LevelsOutsideTheRangeCountAsTheNearestLevel) {
    nitf_log::set_threshold(nitf_log::warning);
    capture();
    EXPECT_FALSE(nitf_log::is_enabled(-5));
    EXPECT_TRUE(nitf_log::is_enabled(9));
    nitf_log::write_logln(9, "severe");
    ASSERT_EQ(lines_.size(), 1u);
    EXPECT_EQ(lines_[0].level, nitf_log::error);
}

TEST_F(LogTest, WideLinesArriveAsUtf8) {
    nitf_log::set_threshold(nitf_log::info);
    capture();
    nitf_log::write_logln(nitf_log::info, std::wstring_view(L"caf\u00e9 \u65e5"));
    ASSERT_EQ(lines_.size(), 1u);
    EXPECT_EQ(lines_[0].text, "caf\xc3\xa9 \xe6\x97\xa5");
}

TEST_F(LogTest, TrailingLineEndIsNotPartOfTheLine) {
    nitf_log::set_threshold(nitf_log::info);
    capture();
    nitf_log::write_logln(nitf_log::info, "one line\r\n");
    ASSERT_EQ(lines_.size(), 1u);
    EXPECT_EQ(lines_[0].text, "one line");
}

TEST_F(LogTest, EmptySinkRestoresStandardError) {
    nitf_log::set_threshold(nitf_log::info);
    capture();
    nitf_log::set_sink({});
    ::testing::internal::CaptureStderr();
    nitf_log::write_logln(nitf_log::error, "to standard error");
    const std::string output = ::testing::internal::GetCapturedStderr();
    EXPECT_TRUE(lines_.empty());
    EXPECT_NE(output.find("to standard error"), std::string::npos) << output;
    EXPECT_NE(output.find("error"), std::string::npos) << output;
}

TEST_F(LogTest, SinkMayLogAndReplaceItselfWhileRunning) {
    nitf_log::set_threshold(nitf_log::info);
    int calls = 0;
    nitf_log::set_sink([&](int, std::string_view text) {
        ++calls;
        if (text == "outer") {
            nitf_log::write_logln(nitf_log::info, "inner");
            capture();
        }
    });
    nitf_log::write_logln(nitf_log::info, "outer");
    nitf_log::write_logln(nitf_log::info, "after");
    EXPECT_EQ(calls, 2);
    ASSERT_EQ(lines_.size(), 1u);
    EXPECT_EQ(lines_[0].text, "after");
}

TEST_F(LogTest, LinesFromManyThreadsReachTheSinkOneAtATime) {
    nitf_log::set_threshold(nitf_log::info);
    int count = 0;  // not atomic: the sink's calls are serialised
    nitf_log::set_sink([&](int, std::string_view) { ++count; });
    constexpr int kThreads = 4;
    constexpr int kLines = 250;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < kLines; ++i) {
                nitf_log::write_logln(nitf_log::warning, "line");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    nitf_log::set_sink({});
    EXPECT_EQ(count, kThreads * kLines);
}

// The environment is read once per process, so each case runs in a fresh child process.
TEST(LogEnvironment, ThresholdComesFromTesselLog) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    struct Case {
        std::optional<std::string> value;
        int threshold;
    };
    const Case cases[] = {{std::nullopt, 1}, {"info", 0}, {"warn", 1},
                          {"error", 2},      {"OFF", 3},  {"loud", 1}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value.value_or("<unset>"));
        tessel_test::ScopedEnvironment env("TESSEL_LOG", c.value);
        EXPECT_EXIT(std::exit(nitf_log::threshold()), ::testing::ExitedWithCode(c.threshold), "");
    }
}

TEST(LogEnvironment, EnabledLinesGoToStandardErrorByDefault) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    tessel_test::ScopedEnvironment env("TESSEL_LOG", "info");
    EXPECT_EXIT(
        {
            nitf_log::write_logln(nitf_log::info, "child says hello");
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "child says hello");
}

}  // namespace
