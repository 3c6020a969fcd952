#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "tessel/platform/nitf.h"

namespace {

nitf_TREDescription layout[] = {
    {NITF_BCS_N, 1, "count", "COUNT", nullptr}, {NITF_LOOP, 0, nullptr, "COUNT", nullptr},
    {NITF_BCS_A, 2, "item", "ITEM", nullptr},   {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

constexpr int kThreads = 4;
constexpr int kSetsPerThread = 8;

// Distinct sets, so that each registration takes its own handler.
std::array<std::array<nitf_TREDescriptionInfo, 2>, kThreads * kSetsPerThread> infos;
std::array<nitf_TREDescriptionSet, kThreads * kSetsPerThread> sets;

TEST(TRERegistryThreads, ConcurrentRegistrationAndUse) {
    for (size_t i = 0; i < sets.size(); ++i) {
        infos[i][0] = {"TTTHREAD", layout, NITF_TRE_DESC_NO_LENGTH};
        infos[i][1] = {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH};
        sets[i] = {0, infos[i].data()};
    }
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &failures] {
            char two[] = "2";
            for (int k = 0; k < kSetsPerThread; ++k) {
                nitf_Error error{};
                std::string name = "TTTH" + std::to_string(t) + "_" + std::to_string(k);
                auto& set = sets[static_cast<size_t>(t * kSetsPerThread + k)];
                if (!nitf_PluginRegistry_registerDescriptionSet(name.c_str(), &set, &error) ||
                    !nitf_PluginRegistry_registerDescriptionSet("TTTHSHARED", &sets[0], &error)) {
                    ++failures;
                }
                for (const std::string& tag : {name, std::string("TTTHSHARED")}) {
                    nitf_TRE* tre = nitf_TRE_construct(tag.c_str(), nullptr, &error);
                    if (tre == nullptr || !nitf_TRE_setField(tre, "COUNT", two, 1, &error) ||
                        nitf_TRE_getCurrentSize(tre, &error) != 5) {
                        ++failures;
                    }
                    nitf_TRE_destruct(&tre);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures.load(), 0);
    EXPECT_TRUE(nitf_PluginRegistry_TREHandlerExists("TTTH3_7"));
}

}  // namespace
