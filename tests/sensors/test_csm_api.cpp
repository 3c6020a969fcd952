#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "support/TestPaths.h"
#include "tessel/csm/Error.h"
#include "tessel/csm/NitfIsd.h"
#include "tessel/csm/Plugin.h"
#include "tessel/csm/RasterGM.h"
#include "tessel/csm/Version.h"
#include "tessel/csm/Warning.h"

namespace {

bool listed(const std::string& name) {
    const auto& list = csm::Plugin::getList();
    return std::any_of(list.begin(), list.end(),
                       [&](const csm::Plugin* p) { return p->getPluginName() == name; });
}

TEST(CsmApi, PluginLoadedFromFolderEntersTheOneList) {
    ASSERT_FALSE(listed("TESSEL_TEST_CSM"));
    const size_t before = csm::Plugin::getList().size();
    int loaded = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TESSEL_TEST_CSMPLUGIN_DIR)) {
        if (entry.path().extension() != ".so") {
            continue;
        }
        void* handle = dlopen(entry.path().c_str(), RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(handle, nullptr) << dlerror();
        ++loaded;  // kept loaded: the plug-in object stays in the list for the process
    }
    EXPECT_EQ(loaded, 1);
    EXPECT_EQ(csm::Plugin::getList().size(), before + 1);
    ASSERT_TRUE(listed("TESSEL_TEST_CSM"));
    const csm::Plugin* plugin = csm::Plugin::findPlugin("TESSEL_TEST_CSM");
    ASSERT_NE(plugin, nullptr);
    EXPECT_EQ(plugin->getModelFamily(0), "GeometricRaster");
    EXPECT_EQ(plugin->getCsmVersion().version(), "3.1.0");
}

TEST(CsmApi, FindPluginMissWarnsDataNotAvailable) {
    csm::WarningList warnings;
    EXPECT_EQ(csm::Plugin::findPlugin("NO_SUCH_PLUGIN", &warnings), nullptr);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings.front().getWarning(), csm::Warning::DATA_NOT_AVAILABLE);
    EXPECT_EQ(warnings.front().getMessage(), "No matching plugin found");
}

TEST(CsmApi, EnumeratorValuesAreThePublishedOnes) {
    EXPECT_EQ(csm::param::FIXED, 3);
    EXPECT_EQ(csm::param::NON_ADJUSTABLE, 2);
    EXPECT_EQ(csm::Error::INDEX_OUT_OF_RANGE, 6);
    EXPECT_EQ(csm::Error::INVALID_SENSOR_MODEL_STATE, 7);
    EXPECT_EQ(csm::Error::ISD_NOT_SUPPORTED, 9);
    EXPECT_EQ(csm::Error::UNSUPPORTED_FUNCTION, 15);
    EXPECT_EQ(csm::Error::UNKNOWN_SUPPORT_DATA, 16);
    EXPECT_EQ(csm::Warning::DATA_NOT_AVAILABLE, 2);
    EXPECT_EQ(csm::Warning::NO_INTERSECTION, 7);
    EXPECT_EQ(csm::Warning::DEPRECATED_FUNCTION, 8);
}

TEST(CsmApi, VersionParsesPrintsAndCompares) {
    csm::Version v("3.1.0");
    EXPECT_EQ(v.major(), 3);
    EXPECT_EQ(v.minor(), 1);
    EXPECT_EQ(v.revision(), 0);
    EXPECT_EQ(v.version(), "3.1.0");
    EXPECT_EQ(csm::Version(3, 1).revision(), -1);
    EXPECT_EQ(csm::Version(3, 1).version(), "3.1");
    EXPECT_TRUE(csm::Version(3, 0, 4) < v);
    EXPECT_TRUE(csm::Version(3, 1) < v);
    EXPECT_TRUE(v == csm::Version(3, 1, 0));
    try {
        csm::Version bad("3.x");
        FAIL() << "accepted " << bad.version();
    } catch (const csm::Error& e) {
        EXPECT_EQ(e.getError(), csm::Error::INVALID_USE);
        EXPECT_EQ(e.getMessage(), "Invalid version component: x");
    }
    EXPECT_THROW(csm::Version(-1, 0), csm::Error);
}

TEST(CsmApi, TreSplitsTagLengthAndDataAndIgnoresShortInput) {
    csm::Tre tre("RPC00B00005abcde");
    EXPECT_EQ(tre.name(), "RPC00B");
    EXPECT_EQ(tre.length(), 5u);
    EXPECT_EQ(tre.data(), "abcde");
    csm::Tre shortTre("RPC00B0000");
    EXPECT_EQ(shortTre.name(), "");
    EXPECT_EQ(shortTre.length(), 0u);
}

TEST(CsmApi, IsdFormatsAndParameters) {
    csm::Isd plain;
    EXPECT_EQ(plain.format(), "UNKNOWN");
    plain.setFilename("a.ntf");
    EXPECT_EQ(plain.format(), "FILENAME");
    plain.addParam("K", "1");
    plain.addParam("K", "2");
    EXPECT_EQ(plain.param("K", 1), "2");
    EXPECT_EQ(plain.param("K", 2), "");
    EXPECT_EQ(csm::Nitf21Isd().format(), "NITF2.1");
    EXPECT_EQ(csm::Nitf20Isd("x").format(), "NITF2.0");
    EXPECT_EQ(csm::Nitf20Isd("x").filename(), "x");
}

TEST(CsmApi, CovarianceTypesStartCleared) {
    const csm::EcefCoordCovar e(1, 2, 3);
    for (double c : e.covariance) {
        EXPECT_EQ(c, 0.0);
    }
    const csm::ImageCoordCovar i(4, 5, 1.0, 2.0, 3.0);
    EXPECT_EQ(i.covar2d(1, 0), 2.0);
    EXPECT_EQ(i.covar2d(1, 1), 3.0);
    EXPECT_EQ(i.line, 4.0);
}

}  // namespace
