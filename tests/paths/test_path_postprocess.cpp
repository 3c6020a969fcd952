#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "paths/path_test_tree.h"
#include "tessel/paths/PathComponents.h"
#include "tessel/paths/PathWalker.h"

namespace {

using Value = any_type::value;

// Post-processes a wide text with the query of "/x?<query>".
Value process(std::string_view query, const std::wstring& text) {
    return PathComponents::parse("/x?" + std::string(query)).postProcess(Value(text));
}

bool isEmpty(const Value& value) {
    return std::holds_alternative<std::monostate>(value);
}

std::wstring wide(const Value& value) {
    const auto* text = std::get_if<std::wstring>(&value);
    return text != nullptr ? *text : L"<not a wide string>";
}

double number(const Value& value) {
    const auto* d = std::get_if<double>(&value);
    return d != nullptr ? *d : std::nan("");
}

TEST(PathPostProcessor, StringKeepsTheValue) {
    EXPECT_EQ(wide(process("parse=string", L" 12 ")), L" 12 ");
    EXPECT_EQ(wide(process("", L"abc")), L"abc");
}

TEST(PathPostProcessor, ParseDouble) {
    EXPECT_EQ(number(process("parse=double", L"12.5")), 12.5);
    EXPECT_EQ(number(process("parse=double", L"+3")), 3.0);
    EXPECT_TRUE(isEmpty(process("parse=double", L"12.5m")));
    EXPECT_TRUE(isEmpty(process("parse=double", L" 1")));
}

TEST(PathPostProcessor, ParseInt) {
    EXPECT_EQ(process("parse=int", L"+12"), Value(int64_t{12}));
    EXPECT_EQ(process("parse=int", L"00000048"), Value(int64_t{48}));
    EXPECT_TRUE(isEmpty(process("parse=int", L"12 ")));
    EXPECT_TRUE(isEmpty(process("parse=int", L"1.5")));
}

TEST(PathPostProcessor, ParseImageIDKeepsTheTextAndGivesTheMission) {
    EXPECT_EQ(wide(process("parse=ImageID", L"04MAY12AB12X1007")), L"04MAY12AB12X1007");
    EXPECT_EQ(wide(process("parse=ImageID&exp=mission", L"04MAY12AB12X1007")), L"AB12");
    EXPECT_EQ(wide(process("parse=ImageID&exp=mission,tolower", L"04MAY12AB12X1007")), L"ab12");
    EXPECT_TRUE(isEmpty(process("parse=ImageID", L"04may12AB12X1007")));
}

TEST(PathPostProcessor, MissionWithoutAnImageIDPushesNothing) {
    EXPECT_TRUE(isEmpty(process("exp=mission", L"04MAY12AB12X1007")));
    EXPECT_EQ(wide(process("exp=@,mission", L"04MAY12AB12X1007")), L"04MAY12AB12X1007");
}

TEST(PathPostProcessor, ParseFDTGivesADate) {
    const Value value = process("parse=FDT", L"20240115103000");
    ASSERT_TRUE(std::holds_alternative<nitf_date>(value));
    EXPECT_EQ(std::get<nitf_date>(value), nitf_date(2024, 1, 15, 10, 30, 0));
    EXPECT_TRUE(isEmpty(process("parse=FDT", L"not a date")));
}

TEST(PathPostProcessor, RangeFiltersDoubles) {
    EXPECT_EQ(number(process("parse=double&range=1,10", L"5")), 5.0);
    EXPECT_EQ(number(process("parse=double&range=1,10", L"10")), 10.0);
    EXPECT_TRUE(isEmpty(process("parse=double&range=1,10", L"10.5")));
    EXPECT_TRUE(isEmpty(process("parse=double&range=1,10", L"0.5")));
}

TEST(PathPostProcessor, OpenLowRangeIsAnUpperBoundOnly) {
    EXPECT_EQ(number(process("parse=double&range=-,10", L"-1e300")), -1e300);
    EXPECT_TRUE(isEmpty(process("parse=double&range=-,10", L"11")));
    EXPECT_EQ(number(process("parse=double&range=5,-", L"1e300")), 1e300);
}

TEST(PathPostProcessor, RangeDoesNotFilterOtherTypes) {
    EXPECT_EQ(wide(process("range=1,10", L"50")), L"50");
    EXPECT_EQ(process("parse=int&range=1,10", L"50"), Value(int64_t{50}));
}

TEST(PathPostProcessor, RangeAppliesBeforeTheExpression) {
    EXPECT_EQ(number(process("parse=double&range=1,10&exp=@,100,*", L"5")), 500.0);
}

TEST(PathExpression, DoublesTheValueAfterParseDouble) {
    EXPECT_EQ(number(process("parse=double&exp=@,2,*", L"21")), 42.0);
}

TEST(PathExpression, MultiplyingTextIsNotNumeric) {
    EXPECT_TRUE(isEmpty(process("exp=@,2,*", L"21")));
}

TEST(PathExpression, TwoValuesLeftOnTheStackGiveNothing) {
    EXPECT_TRUE(isEmpty(process("exp=1,2", L"x")));
    EXPECT_TRUE(isEmpty(process("exp=ws,ws", L"x")));
}

TEST(PathExpression, EmptyStackAtTheEndGivesNothing) {
    EXPECT_TRUE(isEmpty(process("exp=mission", L"x")));
}

TEST(PathExpression, DivisionByZeroGivesNothingNotInfinity) {
    EXPECT_TRUE(isEmpty(process("parse=double&exp=1,@,/", L"0")));
    EXPECT_EQ(number(process("parse=double&exp=1,@,/", L"4")), 0.25);
}

TEST(PathExpression, ArithmeticTakesTheSecondOperandFirst) {
    EXPECT_EQ(number(process("exp=7,2,+", L"x")), 9.0);
    EXPECT_EQ(number(process("exp=7,2,-", L"x")), 5.0);
    EXPECT_EQ(number(process("exp=7,2,*", L"x")), 14.0);
    EXPECT_EQ(number(process("exp=7,2,/", L"x")), 3.5);
    EXPECT_EQ(number(process("parse=double&exp=@,1,-,3,*", L"5")), 12.0);
}

TEST(PathExpression, IntegersArePoppedAsDoubles) {
    EXPECT_EQ(number(process("parse=int&exp=@,2,*", L"21")), 42.0);
}

TEST(PathExpression, MissingOperandGivesNothing) {
    EXPECT_TRUE(isEmpty(process("exp=2,*", L"x")));
    EXPECT_TRUE(isEmpty(process("exp=trim", L"x")));
    EXPECT_TRUE(isEmpty(process("exp=toupper", L"x")));
}

TEST(PathExpression, AnEmptyOperandIsNotAString) {
    const PathComponents query = PathComponents::parse("/x?exp=@,ws,trim");
    EXPECT_TRUE(isEmpty(query.postProcess(Value())));
}

TEST(PathExpression, ANumberPoppedAsTextIsEmptyText) {
    // "toupper" of a number is empty text, which ends the evaluation.
    EXPECT_TRUE(isEmpty(process("exp=5,toupper", L"x")));
    // "trim" with a number as its characters has an empty set.
    EXPECT_TRUE(isEmpty(process("exp=@,5,trim", L"x")));
}

TEST(PathExpression, TrimWithWhiteSpace) {
    EXPECT_EQ(wide(process("exp=@,ws,trim", L" \t A title \r\n")), L"A title");
    EXPECT_EQ(wide(process("exp=@,ab,trim", L"abba12ab")), L"12");
    EXPECT_TRUE(isEmpty(process("exp=@,ws,trim", L"   ")));
}

TEST(PathExpression, ReplaceSubstitutesEveryMatch) {
    EXPECT_EQ(wide(process("exp=@,_,[ -],replace", L"a b-c d")), L"a_b_c_d");
    EXPECT_EQ(wide(process("exp=@,$2$1,(a)(b),replace", L"abab")), L"baba");
    EXPECT_TRUE(isEmpty(process("exp=@,,x,replace", L"xxx")));  // empty tokens are dropped
}

TEST(PathExpression, ReplaceIsCaseSensitive) {
    EXPECT_EQ(wide(process("exp=@,_,A,replace", L"aA")), L"a_");
}

TEST(PathExpression, ReplaceToNothingGivesNothing) {
    // A number popped as the format is empty text.
    EXPECT_TRUE(isEmpty(process("exp=@,0,x,replace", L"xx")));
}

TEST(PathExpression, Substr) {
    EXPECT_EQ(wide(process("exp=@,2,3,substr", L"abcdefg")), L"cde");
    EXPECT_EQ(wide(process("exp=@,2.9,3.9,substr", L"abcdefg")), L"cde");
    EXPECT_EQ(wide(process("exp=@,4,100,substr", L"abcdefg")), L"efg");
    EXPECT_TRUE(isEmpty(process("exp=@,7,1,substr", L"abcdefg")));   // empty outcome
    EXPECT_TRUE(isEmpty(process("exp=@,20,1,substr", L"abcdefg")));  // past the end
    EXPECT_TRUE(isEmpty(process("exp=@,a,1,substr", L"abcdefg")));   // not numeric
}

TEST(PathExpression, UpperAndLowerCase) {
    EXPECT_EQ(wide(process("exp=@,toupper", L"MiXed 1")), L"MIXED 1");
    EXPECT_EQ(wide(process("exp=@,tolower", L"MiXed 1")), L"mixed 1");
}

TEST(PathExpression, RegexFormatsAFullMatchIgnoringCase) {
    EXPECT_EQ(wide(process("exp=@,([a-z]+)(\\d+),$2-$1,regex", L"ABC123")), L"123-ABC");
    EXPECT_EQ(wide(process("exp=@,\\d+,found,regex", L"123")), L"found");
    // A search would find "123" in the text, but the match must be whole.
    EXPECT_TRUE(isEmpty(process("exp=@,\\d+,found,regex", L"x123")));
}

TEST(PathExpression, RegexWithoutMatchPushesNothing) {
    EXPECT_TRUE(isEmpty(process("exp=@,\\d+,found,regex", L"abc")));
    // The evaluation goes on: the value pushed first is left as the result.
    EXPECT_EQ(wide(process("exp=@,@,\\d+,found,regex", L"abc")), L"abc");
}

TEST(PathExpression, BadPatternGivesNothing) {
    EXPECT_TRUE(isEmpty(process("exp=@,x,(,replace", L"abc")));
    EXPECT_TRUE(isEmpty(process("exp=@,(,x,regex", L"abc")));
}

TEST(PathExpression, WhiteSpaceToken) {
    EXPECT_EQ(wide(process("exp=ws", L"x")), L" \t\r\v\n");
}

TEST(PathExpression, OtherTokensArePushed) {
    // A pushed word stays the narrow text of the token.
    EXPECT_EQ(process("exp=hello", L"x"), Value(std::string("hello")));
    EXPECT_EQ(number(process("exp=3", L"x")), 3.0);
}

TEST(PathUnits, FeetBecomeMeters) {
    EXPECT_DOUBLE_EQ(number(process("parse=double&units=ft", L"10")),
                     10 * 12.0 * 0.025400050800101603);
}

TEST(PathUnits, InchesBecomeMeters) {
    EXPECT_DOUBLE_EQ(number(process("parse=double&units=in", L"100")), 100 * 0.025400050800101603);
}

TEST(PathUnits, MetersAndNoneLeaveTheValue) {
    EXPECT_EQ(number(process("parse=double&units=m", L"7.25")), 7.25);
    EXPECT_EQ(number(process("parse=double", L"7.25")), 7.25);
}

TEST(PathUnits, UnitsWithoutParseDoubleHaveNoEffect) {
    EXPECT_EQ(wide(process("units=ft", L"10")), L"10");
    EXPECT_EQ(process("parse=int&units=ft", L"10"), Value(int64_t{10}));
}

TEST(PathUnits, UnitsApplyToTheExpressionOutcome) {
    EXPECT_DOUBLE_EQ(number(process("units=in&exp=2,3,*", L"x")), 6 * 0.025400050800101603);
}

TEST(PathPostProcessor, NonTextInputs) {
    const PathComponents asDouble = PathComponents::parse("/x?parse=double");
    EXPECT_EQ(number(asDouble.postProcess(Value(int64_t{4}))), 4.0);
    const PathComponents asDate = PathComponents::parse("/x?parse=FDT");
    const nitf_date date(2020, 2, 3);
    EXPECT_EQ(asDate.postProcess(Value(date)), Value(date));
    EXPECT_EQ(asDate.postProcess(Value(std::string("20200203000000"))), Value(date));
}

TEST(PathPostProcessor, EndToEndOnATree) {
    path_test::FileTree tree(1);
    Tessel::NITFMessages messages;
    NITFPathInternal::Node root = tree.root();
    EXPECT_EQ(NITFPathInternal::queryTree(root, "/Images/0/NROWS?parse=int", messages),
              Value(int64_t{48}));
    const Value date = NITFPathInternal::queryTree(root, "/Images/0/IDATIM?parse=FDT", messages);
    EXPECT_TRUE(std::holds_alternative<nitf_date>(date));
    // "RAW" is a format word only when it stands alone; here it is an item without "=".
    EXPECT_EQ(
        wide(NITFPathInternal::queryTree(root, "/FileHeader/FTITLE?RAW&exp=@,toupper", messages)),
        L"A SMALL TITLE");
    EXPECT_EQ(wide(NITFPathInternal::queryTree(root, "/FileHeader/FTITLE?format=RAW&exp=@,ws,trim",
                                               messages)),
              L"A small title");
    EXPECT_TRUE(messages.empty());
}

}  // namespace
