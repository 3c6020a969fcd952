#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/products/NITFProductProfile.h"
#include "tessel/products/Substitution.h"

using namespace Tessel;
using namespace Tessel::Products;
using ComputeContext = NITFProductProfile::ComputeContext;

namespace {

any_type::value wide(const wchar_t* text) {
    return std::wstring(text);
}

PropertyDefinition fixed(const std::wstring& path) {
    PropertyDefinition definition;
    definition.sources.push_back({path, {}, {}});
    return definition;
}

MatchRule rule(const std::wstring& path, const std::string& op, std::vector<std::wstring> values) {
    return {fixed(path), op, std::move(values)};
}

// Evaluates templates as they stand: "" is empty, anything else its own text.
any_type::value literal(std::wstring_view text) {
    return std::wstring(text);
}

class Substitution : public ::testing::Test {
protected:
    void SetUp() override {
        image_test::ImageLayout first;
        first.rows = 3;
        first.cols = 2;
        first.icat = "SAR";
        first.iid1 = "FIRST";
        first.data = std::string(6, '\0');
        image_test::ImageLayout second = first;
        second.icat = "MS";
        second.iid1 = "SECOND";
        second.bands = image_test::bands(2, "R");
        second.data = std::string(12, '\0');
        path_ = dir_ / "subst.ntf";
        image_test::ImageFileBuilder().add(first).add(second).write(path_);
        NITFMessages messages;
        context_ = std::make_unique<NITFFileContext>(
            NITFFactory::get().open(NITFURI(std::string_view(path_.string())), messages));
        ASSERT_TRUE(*context_);
        compute_.fileContext = context_.get();
        compute_.uri = context_->getURI();
    }
    void TearDown() override {
        context_.reset();
        NITFFactory::get().clearCache();
    }

    any_type::value expand(std::wstring_view text, int64_t image = 0) {
        ComputeContext context = compute_;
        context.imageIndex = image;
        return NITFProductProfile::ComputeIsdValue(context, text);
    }

    file_test::TempDir dir_;
    std::filesystem::path path_;
    std::unique_ptr<NITFFileContext> context_;
    ComputeContext compute_;
};

TEST_F(Substitution, ImageIndexPlusOneStaysText) {
    EXPECT_EQ(expand(L"$%i+1$"), wide(L"1"));
    EXPECT_EQ(expand(L"$%i$", 4), wide(L"4"));
    ComputeContext context = compute_;
    context.bandIndex = 2;
    EXPECT_EQ(NITFProductProfile::ComputeIsdValue(context, L"$%b$"), wide(L"2"));
}

TEST_F(Substitution, LoneDollarCopiesTheRestAsItStands) {
    EXPECT_EQ(expand(L"abc$"), wide(L"abc$"));
    EXPECT_EQ(expand(L"abc$def"), wide(L"abc$def"));
    EXPECT_EQ(expand(L"plain"), wide(L"plain"));
    EXPECT_EQ(expand(L"a$%i$b$c", 1), wide(L"a1b$c"));
}

TEST_F(Substitution, OneExpressionKeepsItsTypeAndMixedTextIsWide) {
    EXPECT_EQ(expand(L"$/Images/0/NROWS?parse=int$"), any_type::value(int64_t{3}));
    EXPECT_EQ(expand(L"rows $/Images/0/NROWS?parse=int$"), wide(L"rows 3"));
    EXPECT_EQ(expand(L"Image $%i+1$ - ($/Images/%i/ICAT$)", 1), wide(L"Image 2 - (MS)"));
    EXPECT_EQ(expand(L"$/Images/%i/IID1$", 1), wide(L"SECOND"));
    // A path that isn't there adds nothing.
    EXPECT_EQ(expand(L"[$/Images/9/IID1$]"), wide(L"[]"));
}

TEST_F(Substitution, BandPathsReachOneBand) {
    ComputeContext context = compute_;
    context.imageIndex = 1;
    context.bandIndex = 1;
    EXPECT_EQ(NITFProductProfile::ComputeIsdValue(context, L"$/Images/%i/Bands/%b/IREPBAND$"),
              wide(L"R"));
}

TEST_F(Substitution, UriPartsComeFromTheContextsUri) {
    EXPECT_EQ(expand(L"$uri.stem$"), wide(L"subst"));
    EXPECT_EQ(expand(L"$uri.extension$"), wide(L".ntf"));
    EXPECT_EQ(expand(L"$uri.file_name$"), wide(L"subst.ntf"));
    EXPECT_EQ(expand(L"$uri.path$"), any_type::value(path_.wstring()));
    EXPECT_EQ(expand(L"$uri.parent_path$"), any_type::value(path_.parent_path().wstring()));
    EXPECT_EQ(expand(L"$uri.modifiedDateTime$").index(), any_type::tag_date);
    ComputeContext context = compute_;
    context.uri = NITFURI(std::string_view(path_.string() + "/Prof/Layer_A"));
    EXPECT_EQ(NITFProductProfile::ComputeIsdValue(context, L"$uri.profile$:$uri.object$"),
              wide(L"Prof:Layer_A"));
}

TEST_F(Substitution, ProductPathsGoToTheEvaluator) {
    ComputeContext context = compute_;
    EXPECT_EQ(NITFProductProfile::ComputeIsdValue(context, L"$/Product/X$").index(),
              any_type::tag_empty);
    context.evaluator = [](std::string_view path, const ComputeContext&) -> any_type::value {
        return std::wstring(L"<") + std::wstring(path.begin(), path.end()) + L">";
    };
    EXPECT_EQ(NITFProductProfile::ComputeIsdValue(context, L"$/Product/Layer/A/B$"),
              wide(L"</Layer/A/B>"));
}

TEST_F(Substitution, FunctionCallsNeedExactlyTwoPieces) {
    EXPECT_EQ(expand(L"$:NoSuchFunction:x$").index(), any_type::tag_empty);
    EXPECT_EQ(expand(L"$:a:b:c$").index(), any_type::tag_empty);
}

TEST_F(Substitution, EncoderRewritesWideResults) {
    ComputeContext context = compute_;
    const auto encoder = [](std::string_view, std::wstring_view text) { return JsonEncoder(text); };
    context.evaluator = [](std::string_view, const ComputeContext&) -> any_type::value {
        return std::wstring(L"a\"b\\c\nd\x01");
    };
    EXPECT_EQ(NITFProductProfile::ComputeIsdValue(context, L"{\"t\":\"$/Product/x$\"}", encoder),
              wide(L"{\"t\":\"a\\\"b\\\\c\\nd\\u0001\"}"));
}

TEST(JsonEncoderText, EscapesQuotesApostrophesAndControls) {
    EXPECT_EQ(JsonEncoder(L"\"'\\\b\f\n\r\t"), L"\\\"\\'\\\\\\b\\f\\n\\r\\t");
    EXPECT_EQ(JsonEncoder(std::wstring(1, L'\x1f')), L"\\u001f");
    EXPECT_EQ(JsonEncoder(L"plain é"), L"plain é");
}

TEST(PropertySubstitution, FirstSourceWithAValueWins) {
    PropertyDefinition definition;
    definition.sources.push_back({L"", {}, {}});
    definition.sources.push_back({L"second", {}, {}});
    definition.sources.push_back({L"third", {}, {}});
    definition.defaultValue = int64_t{9};
    EXPECT_EQ(substitution(definition, literal, {}), wide(L"second"));
    definition.sources.resize(1);
    EXPECT_EQ(substitution(definition, literal, {}), any_type::value(int64_t{9}));
}

TEST(PropertySubstitution, ValueMappedToNotSetIsRejected) {
    PropertyDefinition definition;
    PropertySource source{L"raw", {{wide(L"raw"), wide(L"NONE")}}, wide(L"NONE")};
    definition.sources.push_back(source);
    definition.sources.push_back({L"fallback", {}, {}});
    EXPECT_EQ(substitution(definition, literal, {}), wide(L"fallback"));
    // The map stops at the first match, and tags must agree.
    PropertySource typed{
        L"raw",
        {{int64_t{1}, wide(L"x")}, {wide(L"raw"), wide(L"y")}, {wide(L"raw"), wide(L"z")}},
        {}};
    PropertyDefinition second;
    second.sources.push_back(typed);
    EXPECT_EQ(substitution(second, literal, {}), wide(L"y"));
}

TEST(PropertySubstitution, HooksSeeTheStages) {
    std::vector<int> sourceStages;
    std::vector<int> definitionStages;
    ProfileEvalHooks hooks;
    hooks.propertySource = [&](const PropertySource&, int stage, const any_type::value&) {
        sourceStages.push_back(stage);
    };
    hooks.propertyDefinition = [&](std::wstring_view, const PropertyDefinition&, int stage,
                                   const any_type::value&) { definitionStages.push_back(stage); };
    PropertyDefinition definition = fixed(L"");
    substitution(definition, literal, hooks);
    EXPECT_EQ(sourceStages, (std::vector<int>{0, 5, 6, 7}));
    EXPECT_EQ(definitionStages, (std::vector<int>{0, 4}));
}

TEST(MatchRules, SecondOfThreeFailingGivesMinusOne) {
    const std::vector<MatchRule> rules{rule(L"A", "Equals", {L"A"}), rule(L"B", "Equals", {L"X"}),
                                       rule(L"C", "Equals", {L"C"})};
    EXPECT_EQ(matchesFile(rules, literal, {}), -1);
    const std::vector<MatchRule> all{rule(L"A", "Equals", {L"Z", L"A"}),
                                     rule(L"B", "NotEqual", {L"X"})};
    EXPECT_EQ(matchesFile(all, literal, {}), 2);
    EXPECT_EQ(matchesFile({rule(L"A", "Equals", {L"B"})}, literal, {}), 0);
    EXPECT_EQ(matchesFile({}, literal, {}), 0);
}

TEST(MatchRules, StartsWithIgnoresCaseAndEqualsDoesNot) {
    EXPECT_EQ(matchesFile({rule(L"nitf02.10", "StartsWith", {L"NITF"})}, literal, {}), 1);
    EXPECT_EQ(matchesFile({rule(L"nitf02.10", "Equals", {L"NITF"})}, literal, {}), 0);
    EXPECT_EQ(matchesFile({rule(L"a.NTF", "EndsWith", {L".ntf", L"x"})}, literal, {}), 1);
    EXPECT_EQ(matchesFile({rule(L"a.NTF", "EndsWith", {})}, literal, {}), 0);
    EXPECT_EQ(matchesFile({rule(L"a", "equals", {L"a"})}, literal, {}), 0);
    EXPECT_EQ(matchesFile({rule(L"a", "Contains", {L"a"})}, literal, {}), 0);
}

TEST(MatchRules, HookIsToldEachOutcome) {
    std::vector<int> stages;
    ProfileEvalHooks hooks;
    hooks.matchRule = [&](const MatchRule&, int stage, const any_type::value&) {
        stages.push_back(stage);
    };
    matchesFile({rule(L"A", "Equals", {L"A"}), rule(L"B", "Equals", {L"C"})}, literal, hooks);
    EXPECT_EQ(stages, (std::vector<int>{0, 1, 0, 2}));
}

TEST_F(Substitution, LayerDefinitionBecomesAValueLayer) {
    LayerDefinition definition;
    definition.Type = Image;
    definition.Key = L"Layer_$%i+1$";
    definition.Aliases = {L"alias_$%i$"};
    definition.Title = L"$/Images/%i/IID1$";
    definition.DisplayLevelTemplate = L"$/Images/%i/NROWS?parse=int$";
    definition.MapDoc = L"{\"name\":\"$/Product/q$\"}";
    definition.Source = Source(L"$uri.stem$");
    definition.Properties[L"Cat"] = fixed(L"$/Images/%i/ICAT$");
    definition.Bands.resize(2);
    definition.Bands[1][L"Band"] = fixed(L"$%b$");
    ComputeContext context = compute_;
    context.imageIndex = 1;
    context.evaluator = [](std::string_view, const ComputeContext&) -> any_type::value {
        return std::wstring(L"say \"hi\"");
    };
    const Layer layer = substitution(definition, context, {});
    EXPECT_EQ(layer.Key, L"Layer_2");
    EXPECT_EQ(layer.Aliases, (std::vector<std::wstring>{L"alias_1"}));
    EXPECT_EQ(layer.Title, L"SECOND");
    EXPECT_EQ(layer.DisplayLevel, 3);
    EXPECT_EQ(layer.MapDoc, L"{\"name\":\"say \\\"hi\\\"\"}");
    EXPECT_EQ(layer.Source.path, L"subst");
    EXPECT_EQ(layer.Properties.at(L"Cat"), wide(L"MS"));
    ASSERT_EQ(layer.Bands.size(), 2U);
    EXPECT_EQ(layer.Bands[1].at(L"Band"), wide(L"1"));
    definition.DisplayLevelTemplate = L"";
    EXPECT_EQ(substitution(definition, context, {}).DisplayLevel, 65535);
}

}  // namespace
