#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>
#include "support/TestPaths.h"

namespace {

// FL follows FHDR..OPHONE of a 2.10 file header: 342 bytes in, 12 digits wide.
constexpr std::size_t kFileLengthOffset = 342;
constexpr std::size_t kFileLengthWidth = 12;
// Changes to samples/make_sample.py that alter the layout must update this on purpose.
constexpr std::uintmax_t kSampleSize = 7644;

std::string readSample() {
    std::ifstream in(TESSEL_SAMPLE_FILE, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool onPath(const std::string& program) {
    const char* path = std::getenv("PATH");
    if (path == nullptr) {
        return false;
    }
    std::stringstream dirs(path);
    std::string dir;
    while (std::getline(dirs, dir, ':')) {
        const auto candidate = std::filesystem::path(dir.empty() ? "." : dir) / program;
        if (::access(candidate.c_str(), X_OK) == 0) {
            return true;
        }
    }
    return false;
}

std::string runCommand(const std::string& command) {
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
    if (!pipe) {
        return {};
    }
    std::string output;
    std::vector<char> chunk(4096);
    std::size_t got = 0;
    while ((got = std::fread(chunk.data(), 1, chunk.size(), pipe.get())) > 0) {
        output.append(chunk.data(), got);
    }
    return output;
}

}  // namespace

TEST(SampleFile, StartsWithNitf210Signature) {
    const std::string bytes = readSample();
    ASSERT_GE(bytes.size(), 9U) << TESSEL_SAMPLE_FILE;
    EXPECT_EQ(std::string_view(bytes).substr(0, 9), "NITF02.10");
}

TEST(SampleFile, FileLengthFieldMatchesSize) {
    const std::string bytes = readSample();
    ASSERT_GE(bytes.size(), kFileLengthOffset + kFileLengthWidth) << TESSEL_SAMPLE_FILE;
    const std::string field = bytes.substr(kFileLengthOffset, kFileLengthWidth);
    ASSERT_EQ(field.find_first_not_of("0123456789"), std::string::npos) << field;
    EXPECT_EQ(std::stoull(field), bytes.size());
}

TEST(SampleFile, SizeIsStable) {
    EXPECT_EQ(std::filesystem::file_size(TESSEL_SAMPLE_FILE), kSampleSize);
}

TEST(SampleFile, GdalReadsFirstImageAndTitle) {
    if (!onPath("gdalinfo")) {
        GTEST_SKIP() << "gdalinfo is not on PATH";
    }
    const std::string output =
        runCommand("gdalinfo -json '" + std::string(TESSEL_SAMPLE_FILE) + "' 2>/dev/null");
    const auto info = nlohmann::json::parse(output, nullptr, false);
    ASSERT_FALSE(info.is_discarded()) << output;
    EXPECT_EQ(info.value("size", nlohmann::json()), nlohmann::json::array({64, 48}));
    const auto title = info.value("/metadata//NITF_FTITLE"_json_pointer, std::string());
    EXPECT_EQ(title, "TesselLib sample");
}
