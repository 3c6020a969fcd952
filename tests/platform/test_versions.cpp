#include <gtest/gtest.h>

#include "tessel/platform/base/versions.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>
#include <thread>

namespace {

bool isRegistered(const std::string& name) {
    const std::vector<std::string> names = registeredVersionNames();
    return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

TEST(Versions, ModulesListingNamesTheLibraryAndItsDependencies) {
    EXPECT_TRUE(isRegistered("modules"));
    EXPECT_FALSE(isRegistered("tessel"));
    const nlohmann::ordered_json all = collectVersions();
    ASSERT_TRUE(all.contains("modules"));
    EXPECT_EQ(all["modules"]["description"], "List relevant modules and versions");
    const nlohmann::ordered_json& value = all["modules"]["value"];
    for (const char* key : {"tessel", "fmt", "spdlog", "nlohmann_json", "boost", "geographiclib",
                            "libxml2", "openjpeg", "libjpeg"}) {
        ASSERT_TRUE(value.contains(key)) << key;
        EXPECT_TRUE(value[key].is_string()) << key;
        EXPECT_FALSE(value[key].get<std::string>().empty()) << key;
    }
    EXPECT_EQ(value.begin().key(), "tessel");
    EXPECT_EQ(value["libjpeg"], "62");
}

TEST(Versions, CallbackGetsTheOptionsAndFillsTheValue) {
    registerVersionCB(
        "test-echo-options", "Echo",
        [](const std::map<std::string, std::string>& options, nlohmann::ordered_json& out) {
            EXPECT_TRUE(out.is_null());
            for (const auto& [key, value] : options) {
                out.push_back(key + "=" + value);
            }
        });
    const nlohmann::ordered_json all = collectVersions({{"a", "1"}, {"b", "2"}});
    ASSERT_TRUE(all.contains("test-echo-options"));
    EXPECT_EQ(all["test-echo-options"]["description"], "Echo");
    EXPECT_EQ(all["test-echo-options"]["value"], nlohmann::ordered_json({"a=1", "b=2"}));
}

TEST(Versions, ListingsKeepRegistrationOrder) {
    registerVersionCB("test-order-z", "Z", [](const auto&, auto& out) { out = 1; });
    registerVersionCB("test-order-a", "A", [](const auto&, auto& out) { out = 2; });
    const std::vector<std::string> names = registeredVersionNames();
    const auto z = std::find(names.begin(), names.end(), "test-order-z");
    const auto a = std::find(names.begin(), names.end(), "test-order-a");
    ASSERT_NE(z, names.end());
    ASSERT_NE(a, names.end());
    EXPECT_LT(z, a);

    const nlohmann::ordered_json all = collectVersions();
    std::vector<std::string> keys;
    for (const auto& item : all.items()) {
        keys.push_back(item.key());
    }
    EXPECT_EQ(keys, names);
}

TEST(Versions, SecondRegistrationOfANameIsIgnored) {
    registerVersionCB("test-duplicate", "First", [](const auto&, auto& out) { out = "first"; });
    registerVersionCB("test-duplicate", "Second", [](const auto&, auto& out) { out = "second"; });
    const std::vector<std::string> names = registeredVersionNames();
    EXPECT_EQ(std::count(names.begin(), names.end(), "test-duplicate"), 1);
    const nlohmann::ordered_json all = collectVersions();
    EXPECT_EQ(all["test-duplicate"]["description"], "First");
    EXPECT_EQ(all["test-duplicate"]["value"], "first");
}

TEST(Versions, ThrowingCallbackGivesAnErrorAndOthersStillRun) {
    registerVersionCB("test-throws", "Throws",
                      [](const auto&, auto&) { throw std::runtime_error("broken listing"); });
    const nlohmann::ordered_json all = collectVersions();
    ASSERT_TRUE(all.contains("test-throws"));
    EXPECT_EQ(all["test-throws"]["error"], "broken listing");
    EXPECT_FALSE(all["test-throws"].contains("value"));
    EXPECT_TRUE(all["modules"].contains("value"));
}

TEST(Versions, EmptyCallbackGivesNull) {
    registerVersionCB("test-empty-callback", "Empty", version_callback{});
    EXPECT_TRUE(collectVersions()["test-empty-callback"]["value"].is_null());
}

TEST(Versions, CallbackMayRegisterAnotherListing) {
    registerVersionCB("test-reentrant", "Reentrant", [](const auto&, auto& out) {
        registerVersionCB("test-registered-inside", "Inside",
                          [](const auto&, auto& inner) { inner = true; });
        out = "done";
    });
    EXPECT_EQ(collectVersions()["test-reentrant"]["value"], "done");
    EXPECT_TRUE(isRegistered("test-registered-inside"));
}

TEST(Versions, ConcurrentRegistrationKeepsEveryName) {
    constexpr int kThreads = 4;
    constexpr int kPerThread = 25;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < kPerThread; ++i) {
                registerVersionCB("test-thread-" + std::to_string(t) + "-" + std::to_string(i),
                                  "Thread", [](const auto&, auto& out) { out = 0; });
                (void)collectVersions();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (int t = 0; t < kThreads; ++t) {
        for (int i = 0; i < kPerThread; ++i) {
            EXPECT_TRUE(isRegistered("test-thread-" + std::to_string(t) + "-" + std::to_string(i)));
        }
    }
}
