#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "products/product_test_support.h"
#include "tessel/products/NITFProductJsonConfigProfile.h"

using Tessel::NITFMessages;
using Tessel::NITFProductJsonConfigProfile;
using namespace product_test;

namespace {

// A product with these fields; empty layer and mosaic definitions unless they are given.
std::string product(const std::string& fields) {
    std::string text = R"({"Name":"P","Title":"T","Type":"Y","Priority":"5","Match":[])";
    if (fields.find("\"LayerDefinitions\"") == std::string::npos) {
        text += R"(,"LayerDefinitions":[])";
    }
    if (fields.find("\"MosaicDefinitions\"") == std::string::npos) {
        text += R"(,"MosaicDefinitions":[])";
    }
    return text + (fields.empty() ? std::string() : "," + fields) + "}";
}

std::string file(const std::string& products, const std::string& rest = {}) {
    return "{\"Products\":[" + products + "]" + (rest.empty() ? "" : "," + rest) + "}";
}

class JsonProfileLoad : public ::testing::Test {
protected:
    std::vector<std::shared_ptr<NITFProductJsonConfigProfile>> load(const std::string& text,
                                                                    bool definitions = true) {
        return NITFProductJsonConfigProfile::createProductProfilesFromText(
            text, (folder_.profiles() / "test.json").wstring(), definitions, L"", aliases_,
            messages_);
    }
    bool said(const std::string& words) const {
        for (const auto& message : messages_) {
            if (message.find(words) != std::string::npos) {
                return true;
            }
        }
        return false;
    }
    std::string allMessages() const {
        std::string text;
        for (const auto& message : messages_) {
            text += message + "\n";
        }
        return text;
    }

    ProfileFolder folder_;
    NITFProductJsonConfigProfile::AliasTable aliases_;
    NITFMessages messages_;
};

TEST_F(JsonProfileLoad, ReadsTheProductKeys) {
    const auto profiles = load(file(
        R"({"Name":"P","Title":"T $%i$","Type":"Y","Priority":"7","Base":"B","ShowGeneric":"true",
            "Match":[{"Key":"$/FileHeader/FHDR$","Operator":"Equals","Value":["NITF","NSIF"]}],
            "LayerDefinitions":[],"MosaicDefinitions":[],
            "Properties":{"A":"x","B":{"Aliases":["b"],"SourcePaths":["1",{"Path":"2","NotSet":"0",
            "Map":[["a","b"]]}],"Default":"12"}}})",
        R"("Aliases":{"Other":"P"})"));
    ASSERT_EQ(profiles.size(), 1U) << allMessages();
    const auto& profile = *profiles.front();
    EXPECT_EQ(profile.getName(), L"P");
    EXPECT_EQ(profile.getTitle(), L"T $%i$");
    EXPECT_EQ(profile.getType(), L"Y");
    EXPECT_EQ(profile.getPriority(), 7);
    EXPECT_EQ(profile.getBase(), L"B");
    EXPECT_TRUE(profile.getShowGeneric());
    EXPECT_EQ(profile.getFormatType(), L"JSONConfig");
    ASSERT_EQ(profile.getMatchRules().size(), 1U);
    EXPECT_EQ(profile.getMatchRules()[0].op, "Equals");
    EXPECT_EQ(profile.getMatchRules()[0].values, (std::vector<std::wstring>{L"NITF", L"NSIF"}));
    const auto& b = profile.getPropertyDefinition(L"b");
    ASSERT_EQ(b.sources.size(), 2U);
    EXPECT_EQ(b.sources[1].path, L"2");
    EXPECT_EQ(b.sources[1].notSet, any_type::value(int64_t{0}));
    ASSERT_EQ(b.sources[1].map.size(), 1U);
    EXPECT_EQ(b.defaultValue, any_type::value(int64_t{12}));
    EXPECT_EQ(profile.getPropertyDefinition(L"A").sources[0].path, L"x");
    EXPECT_THROW((void)profile.getPropertyDefinition(L"C"), std::runtime_error);
    EXPECT_EQ(aliases_.at(L"Other"), L"P");
}

TEST_F(JsonProfileLoad, PriorityZeroOrMissingIsRejected) {
    EXPECT_TRUE(load(file(R"({"Name":"P","Title":"T","Type":"Y","Priority":"0","Match":[],
        "LayerDefinitions":[],"MosaicDefinitions":[]})"))
                    .empty());
    EXPECT_TRUE(said("Value '0' must be a positive integer.")) << allMessages();
    messages_.clear();
    EXPECT_TRUE(load(file(R"({"Name":"P","Title":"T","Type":"Y","Match":[],
        "LayerDefinitions":[],"MosaicDefinitions":[]})"))
                    .empty());
    EXPECT_TRUE(said("Priority: Missing Node")) << allMessages();
    messages_.clear();
    EXPECT_TRUE(load(file(R"({"Name":"P","Title":"T","Type":"Y","Priority":"1x","Match":[],
        "LayerDefinitions":[],"MosaicDefinitions":[]})"))
                    .empty());
    EXPECT_TRUE(said("Value '1x' must be a positive integer.")) << allMessages();
}

TEST_F(JsonProfileLoad, EmptyOrTreeValuesAreRefusedWithTheirWords) {
    EXPECT_TRUE(load(file(R"({"Name":"","Title":"T","Type":"Y","Priority":"1","Match":[],
        "LayerDefinitions":[],"MosaicDefinitions":[]})"))
                    .empty());
    EXPECT_TRUE(said("Value should not be empty.")) << allMessages();
    messages_.clear();
    EXPECT_TRUE(load(file(R"({"Name":"N","Title":{"a":"b"},"Type":"Y","Priority":"1","Match":[],
        "LayerDefinitions":[],"MosaicDefinitions":[]})"))
                    .empty());
    EXPECT_TRUE(said("Title: Value is not a string")) << allMessages();
}

TEST_F(JsonProfileLoad, OneBadProductDoesNotStopTheOthers) {
    const auto profiles =
        load(file(R"({"Name":"Bad","Title":"T","Type":"Y","Priority":"0","Match":[],
            "LayerDefinitions":[],"MosaicDefinitions":[]},)" +
                  product("")));
    ASSERT_EQ(profiles.size(), 1U);
    EXPECT_EQ(profiles[0]->getName(), L"P");
    EXPECT_FALSE(messages_.empty());
}

TEST_F(JsonProfileLoad, ShowGenericMinusOneSetsTheFlag) {
    auto profiles = load(file(product(R"("ShowGeneric":"-1")")));
    ASSERT_EQ(profiles.size(), 1U);
    EXPECT_TRUE(profiles[0]->getShowGeneric());
    profiles = load(file(product(R"("ShowGeneric":"yes")")));
    ASSERT_EQ(profiles.size(), 1U);
    EXPECT_FALSE(profiles[0]->getShowGeneric());
}

TEST_F(JsonProfileLoad, ReferenceWithoutFileNameReadsThisFile) {
    const auto profiles =
        load(file(product(R"("LayerDefinitions":[{"ref":"#/Common/Layer","Title":"Mine"}])"),
                  R"("Common":{"Layer":{"Type":"Image","Key":"K","Title":"Theirs","MapDoc":"",
                "Source":"s"}})"));
    ASSERT_EQ(profiles.size(), 1U) << allMessages();
    ASSERT_EQ(profiles[0]->getLayerDefinitions().size(), 1U);
    const auto& layer = profiles[0]->getLayerDefinitions()[0];
    EXPECT_EQ(layer.Key, L"K");
    EXPECT_EQ(layer.Title, L"Mine");
    EXPECT_EQ(layer.Type, Tessel::Products::Image);
    // Without a "Disposition" a layer shows in the table of contents, menu and catalog.
    EXPECT_EQ(static_cast<std::string>(layer.Disposition), "TOC|Menu|Catalog");
}

TEST_F(JsonProfileLoad, ReferenceBesideAnEmptyOrDottedKeyReportsTheKeyAsItStands) {
    const auto profiles =
        load(file(product(R"("LayerDefinitions":[{"ref":"#/Common/Layer","":{"x":"1"},"a.b":"2",
                 "Title":"Mine"}])"),
                  R"("Common":{"Layer":{"Type":"Image","Key":"K","Title":"Theirs","MapDoc":"",
                "Source":"s"}})"));
    EXPECT_TRUE(profiles.empty());
    EXPECT_TRUE(said("Unknown key ''")) << allMessages();
    EXPECT_TRUE(said("Unknown key 'a.b'")) << allMessages();
}

TEST_F(JsonProfileLoad, ParentFolderReferenceFindsTheFileInTheProfileFolder) {
    folder_.write("other.json", R"({"x":{"Type":"Feature","Key":"F","Title":"T","MapDoc":"{}",
        "Source":"s"}})");
    const auto profiles = load(file(product(R"("LayerDefinitions":[{"ref":"../other.json#/x"}])")));
    ASSERT_EQ(profiles.size(), 1U) << allMessages();
    EXPECT_EQ(profiles[0]->getLayerDefinitions().at(0).Key, L"F");
}

TEST_F(JsonProfileLoad, ReferencesThatLeaveTheProfileFolderAreRefused) {
    const std::filesystem::path outside = folder_.root() / "outside.json";
    file_test::writeFile(outside, R"({"x":{"Type":"Image"}})");
    EXPECT_TRUE(
        load(file(product(R"("LayerDefinitions":[{"ref":")" + outside.string() + R"(#/x"}])")))
            .empty());
    EXPECT_TRUE(said("leads outside")) << allMessages();
    // Parent steps are taken out of the name: it stays inside the folder, where it isn't.
    messages_.clear();
    EXPECT_TRUE(
        load(file(product(R"("LayerDefinitions":[{"ref":"sub/../../outside.json#/x"}])"))).empty());
    EXPECT_TRUE(said("File not found 'sub/outside.json'")) << allMessages();
    std::filesystem::create_symlink(outside, folder_.profiles() / "link.json");
    messages_.clear();
    EXPECT_TRUE(load(file(product(R"("LayerDefinitions":[{"ref":"link.json#/x"}])"))).empty());
    EXPECT_TRUE(said("leads outside")) << allMessages();
}

TEST_F(JsonProfileLoad, CircularReferencesAreReported) {
    EXPECT_TRUE(load(file(product(R"("LayerDefinitions":[{"ref":"#/A"}])"),
                          R"("A":{"ref":"#/B"},"B":{"ref":"#/A"})"))
                    .empty());
    EXPECT_TRUE(said("Circular reference")) << allMessages();
    messages_.clear();
    folder_.write("a.json", R"({"x":{"ref":"b.json#/y"}})");
    folder_.write("b.json", R"({"y":{"ref":"a.json#/x"}})");
    EXPECT_TRUE(load(file(product(R"("LayerDefinitions":[{"ref":"a.json#/x"}])"))).empty());
    EXPECT_TRUE(said("Circular reference")) << allMessages();
}

TEST_F(JsonProfileLoad, MissingReferenceTargetIsAMissingNode) {
    EXPECT_TRUE(load(file(product(R"("LayerDefinitions":[{"ref":"#/Nowhere"}])"))).empty());
    EXPECT_TRUE(said("Missing Node")) << allMessages();
    messages_.clear();
    EXPECT_TRUE(load(file(product(R"("LayerDefinitions":[{"ref":"absent.json#/x"}])"))).empty());
    EXPECT_TRUE(said("File not found 'absent.json'")) << allMessages();
}

TEST_F(JsonProfileLoad, VariableHoldingAVariableExpandsTwice) {
    const auto profiles = load(R"({"@Variables":{"A":"<@{B}>","B":"b"},"Products":[)" +
                               product(R"("Properties":{"X":"@{A}"})") + "]}");
    ASSERT_EQ(profiles.size(), 1U) << allMessages();
    EXPECT_EQ(profiles[0]->getPropertyDefinition(L"X").sources.at(0).path, L"<b>");
}

TEST_F(JsonProfileLoad, InnerVariablesOverrideOuterOnes) {
    const auto profiles =
        load(R"({"@Variables":{"A":"outer"},"Products":[)" +
             product(R"("@Variables":{"A":"inner"},"Properties":{"X":"@{A}"})") + "]}");
    ASSERT_EQ(profiles.size(), 1U) << allMessages();
    EXPECT_EQ(profiles[0]->getPropertyDefinition(L"X").sources.at(0).path, L"inner");
}

TEST_F(JsonProfileLoad, MissingAndEndlessVariablesStop) {
    EXPECT_TRUE(load(file(product(R"("Properties":{"X":"@{Nope}"})"))).empty());
    EXPECT_TRUE(said("Missing Variable 'Nope'")) << allMessages();
    messages_.clear();
    EXPECT_TRUE(load(R"({"@Variables":{"A":"@{A}@{A}"},"Products":[)" +
                     product(R"("Properties":{"X":"@{A}"})") + "]}")
                    .empty());
    EXPECT_TRUE(said("does not stop expanding")) << allMessages();
    messages_.clear();
    EXPECT_TRUE(load(R"({"@Variables":{"A":"@{B}","B":"@{A}"},"Products":[)" +
                     product(R"("Properties":{"X":"@{A}"})") + "]}")
                    .empty());
    EXPECT_TRUE(said("does not stop expanding")) << allMessages();
}

TEST_F(JsonProfileLoad, MalformedJsonGivesLineAndMessage) {
    EXPECT_TRUE(load("{\"Products\":[\n{\"Name\":}]}").empty());
    ASSERT_EQ(messages_.size(), 1U);
    EXPECT_NE(messages_[0].find("File does not contain valid JSON - Line 2 - Message: "),
              std::string::npos)
        << messages_[0];
    messages_.clear();
    EXPECT_TRUE(load(std::string(5000, '[')).empty());
    EXPECT_TRUE(said("File does not contain valid JSON")) << allMessages();
    messages_.clear();
    EXPECT_TRUE(load("").empty());
    EXPECT_TRUE(said("File does not exist or is empty.")) << allMessages();
}

TEST_F(JsonProfileLoad, MissingFileIsReported) {
    EXPECT_TRUE(NITFProductJsonConfigProfile::createProductProfiles(
                    (folder_.profiles() / "none.json").wstring(), true, L"", aliases_, messages_)
                    .empty());
    EXPECT_TRUE(said("File does not exist or is empty.")) << allMessages();
}

TEST_F(JsonProfileLoad, UnknownKeysDropTheProduct) {
    EXPECT_TRUE(load(file(product(R"("Colour":"red")"))).empty());
    EXPECT_TRUE(said("Unknown key 'Colour'")) << allMessages();
    messages_.clear();
    EXPECT_TRUE(load(file(product(R"("LayerDefinitions":[{"Type":"Image","Key":"K","Title":"T",
        "MapDoc":"","Source":"s","Sauce":"x"}])")))
                    .empty());
    EXPECT_TRUE(said("Unknown key 'Sauce'")) << allMessages();
}

TEST_F(JsonProfileLoad, MapPairsNeedTwoElementsAndSourcesAPath) {
    EXPECT_TRUE(
        load(file(product(R"("Properties":{"X":{"SourcePaths":[{"Path":"p","Map":[["a"]]}]}})")))
            .empty());
    EXPECT_TRUE(said("Value needs two elements")) << allMessages();
    messages_.clear();
    EXPECT_TRUE(
        load(file(product(
                 R"("Properties":{"X":{"SourcePaths":[{"Path":"p","Map":[["a","b","c"]]}]}})")))
            .empty());
    EXPECT_TRUE(said("Value has too many elements")) << allMessages();
    messages_.clear();
    EXPECT_TRUE(
        load(file(product(R"("Properties":{"X":{"SourcePaths":[{"NotSet":"0"}]}})"))).empty());
    EXPECT_TRUE(said("Missing Path")) << allMessages();
}

TEST_F(JsonProfileLoad, SourceTemplateNotInTheFunctionsFolderDropsTheProduct) {
    const std::string layer = R"("LayerDefinitions":[{"Type":"Image","Key":"K","Title":"T",
        "MapDoc":"","Source":{"Template":"f.rft.xml","Arguments":{"Raster":{"a":"$%i$"}}}}])";
    EXPECT_TRUE(load(file(product(layer))).empty());
    EXPECT_TRUE(said("File not found 'f.rft.xml'")) << allMessages();
    file_test::writeFile(folder_.functions() / "f.rft.xml", "<Function/>");
    messages_.clear();
    const auto profiles = load(file(product(layer)));
    ASSERT_EQ(profiles.size(), 1U) << allMessages();
    const auto& source = profiles[0]->getLayerDefinitions().at(0).Source;
    EXPECT_EQ(source.templateContent, L"<Function/>");
    std::wstring raster;
    ASSERT_TRUE(source.getArgumentValue(L"Raster", raster));
    EXPECT_EQ(raster, L"{\"a\":\"$%i$\"}");
}

TEST_F(JsonProfileLoad, NameFilterKeepsOneProduct) {
    const auto profiles = NITFProductJsonConfigProfile::createProductProfilesFromText(
        file(product("") + "," +
             R"({"Name":"Q","Title":"T","Type":"Y","Priority":"5","Match":[],
                "LayerDefinitions":[],"MosaicDefinitions":[]})"),
        L"x.json", true, L"Q", aliases_, messages_);
    ASSERT_EQ(profiles.size(), 1U);
    EXPECT_EQ(profiles[0]->getName(), L"Q");
}

TEST_F(JsonProfileLoad, DefinitionsAreReadOnFirstNeedFromTheFile) {
    const auto path = folder_.write(
        "lazy.json", file(product(R"("LayerDefinitions":[{"Type":"Image","Key":"K","Title":"T",
            "MapDoc":"","Source":"s"}],"MosaicDefinitions":[{"ItemURI":{"Path":"p","Key":"","Tag":"",
            "Group":"","DisplayName":"","ProductName":"","SourceTimeStamp":"","Properties":{}},
            "Footprint":"F","ProcessingTemplate":"Lazy","Variables":{},"Properties":{}}])")));
    const auto profiles = NITFProductJsonConfigProfile::createProductProfiles(
        path.wstring(), false, L"", aliases_, messages_);
    ASSERT_EQ(profiles.size(), 1U) << allMessages();
    EXPECT_EQ(profiles[0]->getProcessingTemplates(), (std::vector<std::wstring>{L"Lazy"}));
    ASSERT_EQ(profiles[0]->getLayerDefinitions().size(), 1U);
    EXPECT_EQ(profiles[0]->getMosaicDefinitions().size(), 1U);
    EXPECT_EQ(profiles[0]->getLayerDefinition(L"K").Title, L"T");
    EXPECT_THROW((void)profiles[0]->getLayerDefinition(L"Z"), std::runtime_error);
}

}  // namespace

namespace {

TEST_F(JsonProfileLoad, FirstKeyThatFailsDropsTheProductWithOneMessage) {
    // "Title" fails first; "Priority" after it isn't read any more.
    EXPECT_TRUE(load(file(R"({"Name":"P","Title":"","Type":"Y","Priority":"0","Match":[],
        "LayerDefinitions":[],"MosaicDefinitions":[]})"))
                    .empty());
    ASSERT_EQ(messages_.size(), 1U) << allMessages();
    EXPECT_TRUE(said("Title: Value should not be empty.")) << allMessages();
    messages_.clear();
    EXPECT_TRUE(load(file(R"({"Name":"P","Title":"T","Priority":"0","Match":[],
        "LayerDefinitions":[],"MosaicDefinitions":[]})"))
                    .empty());
    ASSERT_EQ(messages_.size(), 1U) << allMessages();
    EXPECT_TRUE(said("Type: Missing Node")) << allMessages();
}

TEST_F(JsonProfileLoad, PriorityWithLeadingZerosIsPositive) {
    auto profiles = load(file(R"({"Name":"P","Title":"T","Type":"Y","Priority":"0000000007",
        "Match":[],"LayerDefinitions":[],"MosaicDefinitions":[]})"));
    ASSERT_EQ(profiles.size(), 1U) << allMessages();
    EXPECT_EQ(profiles[0]->getPriority(), 7);
    EXPECT_TRUE(load(file(R"({"Name":"P","Title":"T","Type":"Y","Priority":"000",
        "Match":[],"LayerDefinitions":[],"MosaicDefinitions":[]})"))
                    .empty());
    EXPECT_TRUE(said("Value '000' must be a positive integer.")) << allMessages();
    messages_.clear();
    // Too large for a priority: refused, not wrapped round.
    EXPECT_TRUE(load(file(R"({"Name":"P","Title":"T","Type":"Y","Priority":"99999999999",
        "Match":[],"LayerDefinitions":[],"MosaicDefinitions":[]})"))
                    .empty());
    EXPECT_TRUE(said("Value '99999999999' must be a positive integer.")) << allMessages();
}

TEST_F(JsonProfileLoad, SourceTemplateWithAnEmptyNameIsNotFound) {
    EXPECT_TRUE(load(file(product(R"("LayerDefinitions":[{"Type":"Image","Key":"K","Title":"T",
        "MapDoc":"","Source":{"Template":"","Arguments":{}}}])")))
                    .empty());
    EXPECT_TRUE(said("Source/Template: File not found ''")) << allMessages();
}

TEST_F(JsonProfileLoad, ProductWithoutDefinitionsIsDroppedAtStartUpToo) {
    const std::string noLayers = R"({"Name":"P","Title":"T","Type":"Y","Priority":"3",
        "Match":[],"MosaicDefinitions":[]})";
    EXPECT_TRUE(load(file(noLayers), false).empty());
    EXPECT_TRUE(said("LayerDefinitions: Missing Node")) << allMessages();
    messages_.clear();
    const std::string noMosaics = R"({"Name":"P","Title":"T","Type":"Y","Priority":"3",
        "Match":[],"LayerDefinitions":[]})";
    EXPECT_TRUE(load(file(noMosaics), false).empty());
    EXPECT_TRUE(said("MosaicDefinitions: Missing Node")) << allMessages();
}

TEST_F(JsonProfileLoad, EndlessVariableInARequiredTextGivesOneMessage) {
    EXPECT_TRUE(load(R"({"@Variables":{"A":"@{B}","B":"@{A}"},"Products":[{"Name":"P",
        "Title":"@{A}","Type":"Y","Priority":"1","Match":[],"LayerDefinitions":[],
        "MosaicDefinitions":[]}]})")
                    .empty());
    ASSERT_EQ(messages_.size(), 1U) << allMessages();
    EXPECT_TRUE(said("Title: Variable 'A' does not stop expanding")) << allMessages();
}

}  // namespace
