#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "support/TestPaths.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFilePrivate.h"
#include "tessel/paths/PathFunctionFactory.h"
#include "tessel/products/NITFProductProfile.h"

namespace {

using Tessel::PathFunctionFactory;
using ComputeContext = Tessel::NITFProductProfile::ComputeContext;

constexpr int64_t kDay = 86'400'000;
constexpr int64_t k20240102T030405 = 1'704'164'645'000;

// A context whose evaluator answers from a table of paths and counts its calls.
struct TableContext {
    std::map<std::string, any_type::value, std::less<>> values;
    std::vector<std::string> asked;
    ComputeContext context;

    TableContext() {
        context.evaluator = [this](std::string_view path, const ComputeContext&) {
            asked.emplace_back(path);
            const auto found = values.find(path);
            return found != values.end() ? found->second : any_type::value();
        };
    }

    any_type::value date(std::string_view argument) {
        return PathFunctionFactory::executePathFunction("DateCalculator", argument, context);
    }
};

TEST(PathFunctions, UnknownNameGivesAnEmptyValue) {
    TableContext table;
    table.values["/A"] = std::wstring(L"20240102030405");
    const auto value =
        PathFunctionFactory::executePathFunction("NoSuchFunction", "/A,msSince1970", table.context);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(value));
    EXPECT_TRUE(table.asked.empty());
}

TEST(PathFunctions, FirstRegistrationOfANameStays) {
    PathFunctionFactory::registerPathFunction(
        "TestConstant",
        [](std::string_view, const ComputeContext&) -> any_type::value { return int64_t{1}; });
    PathFunctionFactory::registerPathFunction(
        "TestConstant",
        [](std::string_view, const ComputeContext&) -> any_type::value { return int64_t{2}; });
    EXPECT_EQ(PathFunctionFactory::executePathFunction("TestConstant", "", ComputeContext()),
              any_type::value(int64_t{1}));
}

TEST(PathFunctions, FunctionGetsTheArgumentAndTheContext) {
    PathFunctionFactory::registerPathFunction("TestEcho", [](std::string_view argument,
                                                             const ComputeContext& context) {
        return any_type::value(std::string(argument) + ":" + std::to_string(context.imageIndex));
    });
    ComputeContext context;
    context.imageIndex = 4;
    EXPECT_EQ(PathFunctionFactory::executePathFunction("TestEcho", "a,b", context),
              any_type::value(std::string("a,b:4")));
}

TEST(PathFunctions, NamesAreMatchedExactly) {
    TableContext table;
    table.values["/A"] = std::wstring(L"20240102030405");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(PathFunctionFactory::executePathFunction(
        "datecalculator", "/A,msSince1970", table.context)));
}

// --- DateCalculator ---------------------------------------------------------------------------

TEST(DateCalculator, GivesMillisecondsSince1970AsAnInteger) {
    TableContext table;
    table.values["/A"] = std::wstring(L"20240102030405");
    EXPECT_EQ(table.date("/A?parse=FDT,msSince1970"), any_type::value(k20240102T030405));
    // Text that isn't a date yet is parsed all the same.
    EXPECT_EQ(table.date("/A,msSince1970"), any_type::value(k20240102T030405));
    // The evaluator is asked for the path without its query.
    ASSERT_EQ(table.asked.size(), 2U);
    EXPECT_EQ(table.asked[0], "/A");
}

TEST(DateCalculator, TokensAreTrimmedAndEmptyOnesDropped) {
    TableContext table;
    table.values["/A"] = std::wstring(L"20240102030405");
    EXPECT_EQ(table.date(" /A , , msSince1970 , + , 1 ,days "),
              any_type::value(k20240102T030405 + kDay));
}

TEST(DateCalculator, FewerThanTwoTokensGiveNothing) {
    TableContext table;
    table.values["/A"] = std::wstring(L"20240102030405");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(table.date("/A")));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(table.date("/A,,")));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(table.date("")));
}

TEST(DateCalculator, EmptyEvaluatorGivesNothing) {
    ComputeContext context;
    EXPECT_TRUE(std::holds_alternative<std::monostate>(
        PathFunctionFactory::executePathFunction("DateCalculator", "/A,msSince1970", context)));
}

TEST(DateCalculator, OtherOutputFormsGiveNothing) {
    TableContext table;
    table.values["/A"] = std::wstring(L"20240102030405");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(table.date("/A,iso")));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(table.date("/A,mssince1970")));
}

TEST(DateCalculator, NoDateGivesNothing) {
    TableContext table;
    table.values["/Bad"] = std::wstring(L"not a date");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(table.date("/Bad,msSince1970")));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(table.date("/Missing,msSince1970")));
    // Not a date stays not a date when moved.
    EXPECT_TRUE(std::holds_alternative<std::monostate>(table.date("/Bad,msSince1970,+,1,days")));
}

TEST(DateCalculator, OffsetsInEachUnit) {
    TableContext table;
    table.values["/A"] = std::wstring(L"20240102030405");
    EXPECT_EQ(table.date("/A,msSince1970,+,1,days"), any_type::value(k20240102T030405 + kDay));
    EXPECT_EQ(table.date("/A,msSince1970,-,2,hours"),
              any_type::value(k20240102T030405 - 7'200'000));
    EXPECT_EQ(table.date("/A,msSince1970,+,30,minutes"),
              any_type::value(k20240102T030405 + 1'800'000));
    EXPECT_EQ(table.date("/A,msSince1970,+,-15,seconds"),
              any_type::value(k20240102T030405 - 15'000));
    EXPECT_EQ(table.date("/A,msSince1970,-,400,days"),
              any_type::value(k20240102T030405 - 400 * kDay));
}

TEST(DateCalculator, UnknownUnitOrOperatorLeavesTheDate) {
    TableContext table;
    table.values["/A"] = std::wstring(L"20240102030405");
    EXPECT_EQ(table.date("/A,msSince1970,+,3,weeks"), any_type::value(k20240102T030405));
    EXPECT_EQ(table.date("/A,msSince1970,*,3,days"), any_type::value(k20240102T030405));
}

TEST(DateCalculator, OffsetNeedsExactlyFiveTokens) {
    TableContext table;
    table.values["/A"] = std::wstring(L"20240102030405");
    EXPECT_EQ(table.date("/A,msSince1970,+,1"), any_type::value(k20240102T030405));
    EXPECT_EQ(table.date("/A,msSince1970,+,1,days,extra"), any_type::value(k20240102T030405));
    // Ignored tokens aren't read, so a bad amount among them raises nothing.
    EXPECT_EQ(table.date("/A,msSince1970,+,x"), any_type::value(k20240102T030405));
}

TEST(DateCalculator, AmountMayBeAPath) {
    TableContext table;
    table.values["/A"] = std::wstring(L"20240102030405");
    table.values["/Days"] = std::wstring(L" 0003");
    table.values["/Hours"] = std::wstring(L"2");
    EXPECT_EQ(table.date("/A,msSince1970,+,/Days,days"),
              any_type::value(k20240102T030405 + 3 * kDay));
    // The amount's query applies too.
    EXPECT_EQ(table.date("/A,msSince1970,+,/Hours?parse=double,hours"),
              any_type::value(k20240102T030405 + 2 * 3'600'000));
}

TEST(DateCalculator, BadAmountsRaiseTheStandardConversionErrors) {
    TableContext table;
    table.values["/A"] = std::wstring(L"20240102030405");
    table.values["/Text"] = std::wstring(L"abc");
    try {
        table.date("/A,msSince1970,+,abc,days");
        FAIL() << "no exception";
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(), "invalid stoi argument");
    }
    try {
        table.date("/A,msSince1970,+,99999999999,days");
        FAIL() << "no exception";
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ(error.what(), "stoi argument out of range");
    }
    EXPECT_THROW(table.date("/A,msSince1970,+,/Text,days"), std::invalid_argument);
    EXPECT_THROW(table.date("/A,msSince1970,+,/Missing,days"), std::invalid_argument);
    // The largest 32-bit amount converts.
    EXPECT_EQ(table.date("/A,msSince1970,+,2147483647,seconds"),
              any_type::value(k20240102T030405 + int64_t{2147483647} * 1000));
}

TEST(DateCalculator, MillisecondsAreTruncatedTowardsZero) {
    TableContext table;
    table.values["/Late"] = std::wstring(L"2024-01-02T03:04:05.0129Z");
    table.values["/Before"] = std::wstring(L"1969-12-31T23:59:59.9995Z");
    table.values["/Earlier"] = std::wstring(L"1969-12-31T23:59:58.5Z");
    EXPECT_EQ(table.date("/Late,msSince1970"), any_type::value(k20240102T030405 + 12));
    EXPECT_EQ(table.date("/Before,msSince1970"), any_type::value(int64_t{0}));
    EXPECT_EQ(table.date("/Earlier,msSince1970"), any_type::value(int64_t{-1500}));
}

TEST(DateCalculator, DateValuesAreTakenAsTheyAre) {
    TableContext table;
    table.values["/D"] = nitf_date(2024, 1, 2, 3, 4, 5.0);
    EXPECT_EQ(table.date("/D,msSince1970"), any_type::value(k20240102T030405));
}

// --- on a real file ---------------------------------------------------------------------------

class DateCalculatorOnFile : public ::testing::Test {
protected:
    void SetUp() override {
        if (!std::filesystem::exists(TESSEL_SAMPLE_FILE)) {
            GTEST_SKIP() << "no sample file";
        }
        Tessel::NITFMessages messages;
        file_ = std::make_unique<Tessel::NITFFileContext>(Tessel::NITFFactory::get().open(
            Tessel::NITFURI(std::string_view(TESSEL_SAMPLE_FILE)), messages));
        ASSERT_TRUE(*file_);
        context_.fileContext = file_.get();
        context_.uri = file_->getURI();
        context_.evaluator = [](std::string_view path, const ComputeContext& context) {
            Tessel::NITFMessages ignored;
            return context.fileContext->getFile().getPrivate()->GetByPathAsVariant(
                static_cast<int>(context.imageIndex), path, ignored);
        };
    }

    any_type::value call(std::string_view argument) {
        return PathFunctionFactory::executePathFunction("DateCalculator", argument, context_);
    }

    std::unique_ptr<Tessel::NITFFileContext> file_;
    ComputeContext context_;
};

TEST_F(DateCalculatorOnFile, ImageDateGivesAnInteger) {
    const auto value = call("/Images/0/IDATIM?parse=FDT,msSince1970");
    ASSERT_TRUE(std::holds_alternative<int64_t>(value));
    // IDATIM "20240115103000"
    EXPECT_EQ(std::get<int64_t>(value), int64_t{1'705'314'600'000});
}

TEST_F(DateCalculatorOnFile, OneDayLaterAddsADayOfMilliseconds) {
    const auto base = call("/Images/0/IDATIM?parse=FDT,msSince1970");
    const auto later = call("/Images/0/IDATIM?parse=FDT,msSince1970,+,1,days");
    ASSERT_TRUE(std::holds_alternative<int64_t>(base));
    ASSERT_TRUE(std::holds_alternative<int64_t>(later));
    EXPECT_EQ(std::get<int64_t>(later) - std::get<int64_t>(base), kDay);
}

TEST_F(DateCalculatorOnFile, ImageShortcutFollowsTheContextsImage) {
    const auto direct = call("/Images/0/IDATIM?parse=FDT,msSince1970");
    const auto viaImage = call("/Image/IDATIM?parse=FDT,msSince1970");
    EXPECT_EQ(direct, viaImage);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(call("/Images/0/NoSuchField,msSince1970")));
}

}  // namespace
