#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/FileTestSupport.h"
#include "support/RpcFiles.h"
#include "tessel/csm/NitfIsd.h"
#include "tessel/sensors/CsmIsdFactory.h"

namespace {

using namespace VEXASensors;

class IsdFactoriesTest : public ::testing::Test {
protected:
    file_test::TempDir dir;
};

TEST_F(IsdFactoriesTest, NonNitfPathGetsTheFileIsdBecauseNitfGivesNothing) {
    const auto path = dir / "notes.txt";
    file_test::writeFile(path, "not a NITF file at all");
    std::vector<std::string> errors;
    EXPECT_EQ(NitroUtils::NitroISD::create(path.string(), errors), nullptr);
    EXPECT_FALSE(errors.empty());
    const std::unique_ptr<csm::Isd> isd = CsmIsdFactory::create(path);
    ASSERT_NE(isd, nullptr);
    EXPECT_EQ(isd->format(), "FILENAME");
    EXPECT_EQ(isd->filename(), path.string());
    EXPECT_EQ(isd->param("IMAGE_INDEX"), "0");
}

TEST_F(IsdFactoriesTest, NitfFileYieldsANitf21IsdWithOneImagePerSegment) {
    tessel_test::ImageLayout first;
    first.rows = 4;
    first.cols = 5;
    first.data = std::string(20, '\0');
    first.tres = {tessel_test::rawTre("RPC00B", tessel_test::rpcPayload({}))};
    tessel_test::ImageLayout second = first;
    second.tres.clear();
    const auto path = dir / "two.ntf";
    tessel_test::ImageFileBuilder builder;
    builder.add(first).add(second).write(path);
    const std::unique_ptr<csm::Isd> isd = CsmIsdFactory::create(path.string() + "#IM_2");
    ASSERT_NE(isd, nullptr);
    const auto* nitf = dynamic_cast<const csm::Nitf21Isd*>(isd.get());
    ASSERT_NE(nitf, nullptr) << isd->format();
    EXPECT_EQ(nitf->format(), "NITF2.1");
    EXPECT_EQ(nitf->filename(), path.string());
    EXPECT_EQ(nitf->param("IMAGE_INDEX"), "2");
    ASSERT_EQ(nitf->images().size(), 2u);
    const std::string bytes = builder.bytes();
    EXPECT_EQ(bytes.rfind(nitf->fileHeader(), 0), 0u);
    EXPECT_EQ(nitf->fileHeader().substr(0, 9), "NITF02.10");
    const csm::Image& image = nitf->images()[0];
    EXPECT_EQ(image.subHeader().substr(0, 2), "IM");
    EXPECT_NE(bytes.find(image.subHeader()), std::string::npos);
    ASSERT_EQ(image.imageTres().size(), 1u);
    EXPECT_EQ(image.imageTres()[0].name(), "RPC00B");
    EXPECT_EQ(image.imageTres()[0].length(), 1041u);
    EXPECT_EQ(image.imageTres()[0].data(), tessel_test::rpcPayload({}));
    EXPECT_TRUE(nitf->images()[1].imageTres().empty());
    EXPECT_TRUE(nitf->fileDess().empty());
}

TEST_F(IsdFactoriesTest, DataExtensionSegmentsCarrySubheaderAndData) {
    const std::unique_ptr<csm::Isd> isd = CsmIsdFactory::create(TESSEL_SAMPLE_FILE);
    const auto* nitf = dynamic_cast<const csm::NitfIsd*>(isd.get());
    ASSERT_NE(nitf, nullptr);
    EXPECT_EQ(nitf->images().size(), 2u);
    ASSERT_EQ(nitf->fileDess().size(), 1u);
    const csm::Des& des = nitf->fileDess()[0];
    EXPECT_EQ(des.subHeader().substr(0, 2), "DE");
    const std::string bytes = file_test::sampleBytes();
    EXPECT_NE(bytes.find(des.subHeader() + des.data()), std::string::npos);
}

TEST_F(IsdFactoriesTest, Nitf20FileYieldsANitf20Isd) {
    const auto path = dir / "old.ntf";
    file_test::writeFile(path, file_test::headerOnlyFile(true));
    const std::unique_ptr<csm::Isd> isd = CsmIsdFactory::create(path);
    ASSERT_NE(dynamic_cast<const csm::Nitf20Isd*>(isd.get()), nullptr);
    EXPECT_EQ(isd->format(), "NITF2.0");
}

TEST_F(IsdFactoriesTest, MissingFileReportsTheFailingStep) {
    std::vector<std::string> errors;
    EXPECT_EQ(NitroUtils::NitroISD::create((dir / "missing.ntf").string(), errors), nullptr);
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].rfind("nitf_IOHandleAdapter_open: ", 0), 0u) << errors[0];
}

// Answers for files named "*.zero" only, with an ISD of its own format.
class ZeroIsd : public csm::Isd {
public:
    explicit ZeroIsd(const std::string& path) : csm::Isd("ZERO", path) {}
};
class ZeroIsdFactory : public IIsdFactory {
public:
    std::unique_ptr<csm::Isd> create(const std::filesystem::path& path) const override {
        if (path.extension() != ".zero") {
            return nullptr;
        }
        return std::make_unique<ZeroIsd>(path.string());
    }
};

TEST_F(IsdFactoriesTest, FactoryAtPriorityZeroIsConsultedBeforeTheBuiltInOnes) {
    const auto path = dir / "image.zero";
    tessel_test::writeRpcFile(path);
    // Before registration, the NITF factory reads it.
    EXPECT_EQ(CsmIsdFactory::create(path)->format(), "NITF2.1");
    EXPECT_TRUE(CsmIsdFactory::registerFactory(0, "ZERO",
                                               [] { return std::make_unique<ZeroIsdFactory>(); }));
    EXPECT_FALSE(CsmIsdFactory::registerFactory(5, "ZERO",
                                                [] { return std::make_unique<ZeroIsdFactory>(); }));
    const auto info = CsmIsdFactory::getFactoryInfo();
    ASSERT_GE(info.size(), 3u);
    EXPECT_EQ(info[0], std::make_pair(0, std::string("ZERO")));
    EXPECT_EQ(info[1], std::make_pair(1, std::string("NITF")));
    EXPECT_EQ(info.back(), std::make_pair(10000, std::string("FILE")));
    EXPECT_EQ(CsmIsdFactory::create(path)->format(), "ZERO");
    // Other files still go to the built-in ones.
    const auto other = dir / "image.ntf";
    tessel_test::writeRpcFile(other);
    EXPECT_EQ(CsmIsdFactory::create(other)->format(), "NITF2.1");
}

}  // namespace
