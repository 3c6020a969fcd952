#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "products/product_test_support.h"
#include "support/TestPaths.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/products/NITFProductJsonConfigProfile.h"

using Tessel::NITFFactory;
using Tessel::NITFMessages;
using Tessel::NITFProduct;
using namespace product_test;

namespace {

const std::string imageLayer(const std::string& key, const std::string& extra = {}) {
    return R"({"Type":"Image","Key":")" + key + R"(","Title":"T $%i$","MapDoc":"","Source":"s")" +
           (extra.empty() ? "" : "," + extra) + "}";
}

std::string profile(const std::string& name, int priority, const std::string& match,
                    const std::string& layers, const std::string& extra = {}) {
    return R"({"Name":")" + name + R"(","Title":"Title of )" + name +
           R"(","Type":"Kind","Priority":")" + std::to_string(priority) + R"(","Match":[)" + match +
           R"(],"LayerDefinitions":[)" + layers + R"(],"MosaicDefinitions":[])" +
           (extra.empty() ? "" : "," + extra) + "}";
}

std::string rule(const std::string& path, const std::string& op, const std::string& value) {
    return R"({"Key":")" + path + R"(","Operator":")" + op + R"(","Value":")" + value + R"("})";
}

class JsonProfileProcess : public ::testing::Test {
protected:
    void SetUp() override {
        file_ = folder_.root() / "three.ntf";
        image_test::ImageFileBuilder()
            .add(pixelImage("VIS", "MONO", 1, "ONE"))
            .add(pixelImage("MS", "MULTI", 3, "TWO"))
            .add(pixelImage("SAR", "MONO", 1, "THREE"))
            .write(file_);
    }
    void profiles(const std::string& products) {
        folder_.write("test.json", "{\"Products\":[" + products + "]}");
        NITFFactory::get().clearCache();
    }
    std::shared_ptr<NITFProduct> open(const std::string& rest = {}) {
        messages_.clear();
        return NITFFactory::get().openProduct(uriOf(file_, rest), messages_);
    }
    std::vector<std::wstring> keys(const NITFProduct& product) {
        std::vector<std::wstring> out;
        for (const auto& layer : product.getLayerDefinitions()) {
            out.push_back(layer.Key);
        }
        return out;
    }

    ProfileFolder folder_;
    std::filesystem::path file_;
    NITFMessages messages_;
};

TEST_F(JsonProfileProcess, FileMatchingNoProfileYieldsGenericAndPartialScoresShowOnlyInTheList) {
    profiles(profile("Partial", 9,
                     rule("$/FileHeader/FHDR$", "Equals", "NITF") + "," +
                         rule("$/FileHeader/FVER$", "Equals", "02.10") + "," +
                         rule("$/FileHeader/OSTAID$", "Equals", "NOBODY"),
                     imageLayer("K")));
    EXPECT_EQ(NITFFactory::get().getBestMatchingProfile(uriOf(file_), messages_), L"Generic");
    const auto scores = NITFFactory::get().getMatchingProfiles(uriOf(file_), messages_);
    ASSERT_EQ(scores.size(), 1U);
    EXPECT_EQ(scores[0], (std::pair<int, std::wstring>{-2, L"Partial"}));
    const auto product = open();
    ASSERT_TRUE(product);
    EXPECT_EQ(product->name(), L"Generic");
    EXPECT_EQ(product->uri().profile_name(), L"Generic");
}

TEST_F(JsonProfileProcess, PriorityDecidesBetweenMatchingProfiles) {
    profiles(profile("Low", 3, rule("$/FileHeader/FHDR$", "Equals", "NITF"), imageLayer("L")) +
             "," +
             profile("High", 8, rule("$/FileHeader/FHDR$", "StartsWith", "nit"), imageLayer("H")));
    EXPECT_EQ(NITFFactory::get().getBestMatchingProfile(uriOf(file_), messages_), L"High");
    const auto all = NITFFactory::get().getAllProfiles(messages_);
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[0], (std::pair<int, std::wstring>{8, L"High"}));
    EXPECT_EQ(all[1], (std::pair<int, std::wstring>{3, L"Low"}));
    EXPECT_EQ(all[2], (std::pair<int, std::wstring>{1, L"Generic"}));
    const auto product = open();
    ASSERT_TRUE(product);
    EXPECT_EQ(product->title(), L"Title of High");
    EXPECT_EQ(product->type(), L"Kind");
}

TEST_F(JsonProfileProcess, FirstOfTwoImageDefinitionsWithoutRulesTakesEverySegment) {
    profiles(profile("P", 5, "", imageLayer("A_$%i$") + "," + imageLayer("B_$%i$")));
    const auto product = open("/P");
    ASSERT_TRUE(product);
    EXPECT_EQ(product->getLayerDefinitions().size(), 3U);
    for (const auto& layer : product->getLayerDefinitions()) {
        EXPECT_EQ(layer.Key.substr(0, 2), L"A_");
    }
}

TEST_F(JsonProfileProcess, FailingRulesPassTheSegmentOnAndFinallyToTheBase) {
    const std::string onlyVis =
        imageLayer("Vis_$%i$", R"("Match":[)" + rule("$/Images/%i/ICAT$", "Equals", "VIS") + "]");
    const std::string onlyMs =
        imageLayer("Ms_$%i$", R"("Match":[)" + rule("$/Images/%i/ICAT$", "Equals", "MS") + "]");
    profiles(profile("Child", 5, "", onlyVis + "," + onlyMs, R"("Base":"Parent")") + "," +
             profile("Parent", 4, "", imageLayer("Parent_$%i$")));
    const auto product = open("/Child");
    ASSERT_TRUE(product) << (messages_.empty() ? "" : messages_[0]);
    auto found = keys(*product);
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (std::vector<std::wstring>{L"Ms_1", L"Parent_2", L"Vis_0"}));
}

TEST_F(JsonProfileProcess, FailedValidationDoesNotFallThrough) {
    profiles(profile("P", 5, "",
                     R"({"Type":"Image","Key":"Bad","Title":"","MapDoc":"","Source":"s"},)" +
                         imageLayer("Good_$%i$")));
    const auto product = open("/P");
    ASSERT_TRUE(product);
    EXPECT_TRUE(product->getLayerDefinitions().empty());
    EXPECT_EQ(std::count(messages_.begin(), messages_.end(), "Layer Title is empty"), 3);
}

TEST_F(JsonProfileProcess, InvalidMapDocIsReportedWithItsLine) {
    profiles(profile("P", 5, "",
                     R"({"Type":"Table","Key":"T","Title":"x","MapDoc":"{\"a\":","Source":"s"},)"
                     R"({"Type":"ScreenOverlay","Key":"O","Title":"x","MapDoc":"","Source":"s"})"));
    const auto product = open("/P");
    ASSERT_TRUE(product);
    EXPECT_TRUE(product->getLayerDefinitions().empty());
    bool said = false;
    for (const auto& message : messages_) {
        said = said ||
               message.rfind("MapDoc does not contain valid JSON - Line 1 - Message: ", 0) == 0;
    }
    EXPECT_TRUE(said);
}

TEST_F(JsonProfileProcess, PrimaryObjectKeepsEveryImageLayer) {
    profiles(profile("P", 5, "", imageLayer("K_$%i$")));
    const auto product = open("/P/Primary");
    ASSERT_TRUE(product);
    EXPECT_EQ(product->getLayerDefinitions().size(), 3U);
}

TEST_F(JsonProfileProcess, ObjectNoDefinitionHasLeavesImageZeroWithoutLayer) {
    profiles(profile("P", 5, "", imageLayer("K_$%i$")));
    const auto product = open("/P/Elsewhere");
    ASSERT_TRUE(product);
    auto found = keys(*product);
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (std::vector<std::wstring>{L"K_1", L"K_2"}));
    // The key itself, or an alias as it stands, names image 0's layer.
    EXPECT_EQ(keys(*open("/P/K_0")).size(), 3U);
}

TEST_F(JsonProfileProcess, LayersWithoutLevelComeOutInReverseWithTitlesOfTheirMaking) {
    profiles(profile("P", 5, "", imageLayer("L$%i$")));
    const auto product = open("/P");
    ASSERT_TRUE(product);
    const auto& layers = product->getLayerDefinitions();
    ASSERT_EQ(layers.size(), 3U);
    EXPECT_EQ(layers[0].Key, L"L2");
    EXPECT_EQ(layers[0].Title, L"Image 3 - T 2");
    EXPECT_EQ(layers[1].Title, L"Image 2 - T 1");
    EXPECT_EQ(layers[2].Title, L"Image 1 - T 0");
    EXPECT_EQ(layers[2].DisplayLevel, 65535);
    EXPECT_EQ(layers[0].DisplayLevel, 65533);
}

TEST_F(JsonProfileProcess, ExplicitLevelsComeFirst) {
    profiles(profile("P", 5, "", imageLayer("L$%i$", R"("DisplayLevel":"$%i+1$")")));
    const auto product = open("/P");
    ASSERT_TRUE(product);
    EXPECT_EQ(keys(*product), (std::vector<std::wstring>{L"L0", L"L1", L"L2"}));
    EXPECT_EQ(product->getLayerDefinitions()[0].DisplayLevel, 1);
}

TEST_F(JsonProfileProcess, GeneratedImageDocumentAndBandProperties) {
    profiles(profile("P", 5, "", imageLayer("L$%i$", R"("Bands":[{"Name":"given"}],
        "Properties":{"Band-Name":"$/Images/%i/Bands/%b/IREPBAND$","Band-Index":"$%b$"})")));
    const auto product = open("/P");
    ASSERT_TRUE(product);
    const auto* layer = product->getLayerDefinition(L"L1");
    ASSERT_NE(layer, nullptr);
    ASSERT_EQ(layer->Bands.size(), 3U);
    EXPECT_EQ(layer->Bands[0].at(L"Name"), any_type::value(std::wstring(L"given")));
    EXPECT_EQ(layer->Bands[1].at(L"Name"), any_type::value(std::wstring(L"M")));
    EXPECT_EQ(layer->Bands[2].at(L"Index"), any_type::value(std::wstring(L"2")));
    const auto document = nlohmann::ordered_json::parse(std::to_string(layer->MapDoc));
    EXPECT_EQ(document["type"], "MapDocNitfImageSubLayer");
    EXPECT_EQ(document["name"], "T 1");
    EXPECT_EQ(document["dataConnection"]["dataset"], "three.ntf/P#L1");
}

TEST_F(JsonProfileProcess, XbandsGiveTheBandCount) {
    image_test::ImageLayout wide = pixelImage("MS", "MULTI", 300);
    wide.useXbands = true;
    image_test::ImageFileBuilder().add(wide).write(file_);
    profiles(profile("P", 5, "", imageLayer("L")));
    const auto product = open("/P");
    ASSERT_TRUE(product);
    ASSERT_EQ(product->getLayerDefinitions().size(), 1U);
    EXPECT_EQ(product->getLayerDefinitions()[0].Bands.size(), 300U);
}

TEST_F(JsonProfileProcess, UnknownProfileInTheUriGivesNoProduct) {
    profiles(profile("P", 5, "", imageLayer("L")));
    EXPECT_FALSE(open("/Nope"));
    ASSERT_FALSE(messages_.empty());
    EXPECT_EQ(messages_.back(), "Unable to find profile 'Nope'");
}

TEST_F(JsonProfileProcess, CircularBasesAreDroppedAtLoad) {
    profiles(profile("A", 5, "", imageLayer("L"), R"("Base":"B")") + "," +
             profile("B", 5, "", imageLayer("L"), R"("Base":"A")") + "," +
             profile("C", 5, "", imageLayer("L"), R"("Base":"Missing")"));
    NITFMessages messages;
    EXPECT_FALSE(NITFFactory::get().getProfile(L"A", messages));
    EXPECT_FALSE(NITFFactory::get().getProfile(L"C", messages));
    bool circular = false;
    for (const auto& message : messages) {
        circular = circular || message.find("Circular base profile") != std::string::npos;
    }
    EXPECT_TRUE(circular);
}

TEST_F(JsonProfileProcess, AliasesFindProfilesAndMosaicsAndPropertiesComeIn) {
    folder_.write("test.json",
                  R"({"Aliases":{"Nick":"P"},"Products":[)" +
                      profile("P", 5, "", imageLayer("L"),
                              R"("Properties":{"Count":"$/FileHeader/NUMI?parse=int$"})") +
                      "]}");
    NITFFactory::get().clearCache();
    NITFMessages messages;
    ASSERT_TRUE(NITFFactory::get().getProfile(L"Nick", messages));
    EXPECT_EQ(NITFFactory::get().getProfile(L"Nick", messages)->getName(), L"P");
    const auto product = open("/Nick");
    ASSERT_TRUE(product);
    EXPECT_EQ(product->getProperty(L"Count"), any_type::value(int64_t{3}));
}

TEST_F(JsonProfileProcess, CsshpcSegmentIsIgnored) {
    const std::filesystem::path fixture =
        std::filesystem::path(TESSEL_SHARED_DIR) / "fixtures" / "des_csshpa.ntf";
    if (!std::filesystem::exists(fixture)) {
        GTEST_SKIP() << "no shared fixtures";
    }
    std::string bytes = file_test::readFile(fixture);
    const std::string feature =
        R"({"Type":"Feature","Key":"F","Title":"Shapes","MapDoc":"","Source":"s"})";
    profiles(profile("P", 5, "", feature));
    file_test::writeFile(file_, bytes);
    auto product = open("/P");
    ASSERT_TRUE(product);
    ASSERT_EQ(product->getLayerDefinitions().size(), 1U);
    EXPECT_EQ(product->getLayerDefinitions()[0].Type, Tessel::Products::Feature);
    for (size_t at = bytes.find("CSSHPA DES"); at != std::string::npos;
         at = bytes.find("CSSHPA DES", at + 1)) {
        bytes[at + 5] = 'C';
    }
    file_test::writeFile(file_, bytes);
    NITFFactory::get().clearCache();
    product = open("/P");
    ASSERT_TRUE(product);
    EXPECT_TRUE(product->getLayerDefinitions().empty());
}

TEST_F(JsonProfileProcess, FeatureSegmentWithMalformedShapeDataIsRefusedWithAMessage) {
    const std::filesystem::path fixture =
        std::filesystem::path(TESSEL_SHARED_DIR) / "fixtures" / "des_csshpa.ntf";
    if (!std::filesystem::exists(fixture)) {
        GTEST_SKIP() << "no shared fixtures";
    }
    std::string bytes = file_test::readFile(fixture);
    // The first component's name blanked: the shape data can't be described.
    const size_t name = bytes.find("SHP000000SHX");
    ASSERT_NE(name, std::string::npos);
    bytes.replace(name, 3, "   ");
    file_test::writeFile(file_, bytes);
    const std::string feature =
        R"({"Type":"Feature","Key":"F","Title":"Shapes","MapDoc":"","Source":"s"})";
    profiles(profile("P", 5, "", feature));
    auto product = open("/P");
    ASSERT_TRUE(product);
    EXPECT_TRUE(product->getLayerDefinitions().empty());
    bool reported = false;
    for (const auto& message : messages_) {
        reported = reported || message.find("Shapes: ") == 0;
    }
    EXPECT_TRUE(reported) << (messages_.empty() ? "" : messages_.front());
    // The generic profile skips such a segment without a message; the image stays.
    product = open("/Generic");
    ASSERT_TRUE(product);
    EXPECT_NE(product->getLayerDefinition(L"Layer_Image_1"), nullptr);
    EXPECT_EQ(product->getLayerDefinition(L"Layer_Feature_0"), nullptr);
    EXPECT_TRUE(messages_.empty()) << messages_.front();
}

TEST_F(JsonProfileProcess, ClearCacheForgetsTheProfileTables) {
    profiles(profile("First", 5, "", imageLayer("L")));
    NITFMessages messages;
    const auto names = [&] {
        std::vector<std::wstring> out;
        for (const auto& [priority, name] : NITFFactory::get().getAllProfiles(messages)) {
            out.push_back(name);
        }
        return out;
    };
    EXPECT_EQ(names(), (std::vector<std::wstring>{L"First", L"Generic"}));
    // A new file isn't seen while the tables stand; clearCache makes the next use read again.
    folder_.write("second.json",
                  "{\"Products\":[" + profile("Second", 9, "", imageLayer("L")) + "]}");
    EXPECT_EQ(names(), (std::vector<std::wstring>{L"First", L"Generic"}));
    EXPECT_FALSE(NITFFactory::get().getProfile(L"Second", messages));
    NITFFactory::get().clearCache();
    EXPECT_EQ(names(), (std::vector<std::wstring>{L"Second", L"First", L"Generic"}));
    EXPECT_TRUE(NITFFactory::get().getProfile(L"Second", messages));
}

TEST_F(JsonProfileProcess, LayerWhoseKeyComesOutEmptyIsRefused) {
    profiles(profile("P", 5, "", imageLayer("$/FileHeader/NOSUCHFIELD$")));
    const auto product = open("/P");
    ASSERT_TRUE(product);
    EXPECT_TRUE(product->getLayerDefinitions().empty());
    EXPECT_EQ(std::count(messages_.begin(), messages_.end(), "Layer Key is empty"), 3);
}

}  // namespace
