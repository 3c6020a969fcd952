#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tessel/platform/nitf.h"

namespace {

constexpr nitf_TREDescription kEnd = {NITF_END, 0, nullptr, nullptr, nullptr};
constexpr nitf_TREDescription kEndLoop = {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr};
constexpr nitf_TREDescription kEndIf = {NITF_ENDIF, 0, nullptr, nullptr, nullptr};

nitf_TREDescription field(int type, int width, const char* tag, const char* special = nullptr) {
    return {type, width, tag, tag, special};
}
nitf_TREDescription loop(const char* label, const char* tag) {
    return {NITF_LOOP, 0, label, tag, nullptr};
}
nitf_TREDescription when(const char* condition, const char* tag) {
    return {NITF_IF, 0, condition, tag, nullptr};
}

// One description set made of the given layouts, with its handler; TREs read with it carry
// the tag "TTENG".
class Layouts {
public:
    struct Info {
        const char* name;
        std::vector<nitf_TREDescription> entries;
        int lengthMatch = NITF_TRE_DESC_NO_LENGTH;
    };

    explicit Layouts(std::vector<Info> infos, int defaultIndex = 0) : layouts_(std::move(infos)) {
        for (Info& info : layouts_) {
            info.entries.push_back(kEnd);
            infos_.push_back({info.name, info.entries.data(), info.lengthMatch});
        }
        infos_.push_back({nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH});
        set_ = {defaultIndex, infos_.data()};
        nitf_Error error{};
        EXPECT_NE(nitf_TREUtils_createBasicHandler(&set_, &handler_, &error), nullptr)
            << error.message;
    }

    explicit Layouts(std::vector<nitf_TREDescription> entries)
        : Layouts(std::vector<Info>{{"TTENG", std::move(entries)}}) {}

    nitf_TRE* read(const std::string& bytes) {
        nitf_Error error{};
        std::string buffer = bytes;
        nitf_IOInterface* io =
            nitf_BufferAdapter_construct(buffer.data(), buffer.size(), false, &error);
        nitf_TRE* tre = nitf_TRE_createSkeleton("TTENG", &error);
        tre->handler = &handler_;
        bool ok = tre->handler->read(io, static_cast<uint32_t>(bytes.size()), tre, nullptr, &error);
        EXPECT_TRUE(ok) << error.message;
        EXPECT_EQ(nitf_IOInterface_tell(io, &error), static_cast<nitf_Off>(bytes.size()));
        nitf_IOInterface_destruct(&io);
        return tre;
    }

    nitf_TRE* construct(const char* id) {
        nitf_Error error{};
        nitf_TRE* tre = nitf_TRE_createSkeleton("TTENG", &error);
        tre->handler = &handler_;
        if (!tre->handler->init(tre, id, &error)) {
            lastError = error.message;
            nitf_TRE_destruct(&tre);
        }
        return tre;
    }

    nitf_TREHandler* handler() { return &handler_; }

    std::string lastError;

private:
    std::vector<Info> layouts_;
    std::vector<nitf_TREDescriptionInfo> infos_;
    nitf_TREDescriptionSet set_{};
    nitf_TREHandler handler_{};
};

std::string written(nitf_TRE* tre) {
    nitf_Error error{};
    nitf_IOInterface* out = nitf_BufferAdapter_constructGrowable(&error);
    EXPECT_TRUE(tre->handler->write(out, tre, nullptr, &error)) << error.message;
    size_t size = 0;
    const char* bytes = nitf_BufferAdapter_getBuffer(out, &size);
    std::string result(bytes != nullptr ? bytes : "", size);
    nitf_IOInterface_destruct(&out);
    return result;
}

std::string text(nitf_TRE* tre, const char* name) {
    nitf_Field* f = nitf_TRE_getField(tre, name);
    return f != nullptr ? std::string(f->raw, f->length) : std::string("<missing>");
}

std::vector<std::string> names(nitf_TRE* tre) {
    nitf_Error error{};
    std::vector<std::string> result;
    nitf_TREEnumerator* it = nitf_TRE_begin(tre, &error);
    while (it != nullptr && it->hasNext(&it)) {
        nitf_Pair* pair = it->next(it, &error);
        if (pair != nullptr) {
            result.emplace_back(pair->key);
        }
    }
    return result;
}

using Names = std::vector<std::string>;

bool isRaw(nitf_TRE* tre) {
    nitf_Error error{};
    return tre->handler == nitf_DefaultTRE_handler(&error) &&
           std::strcmp(nitf_TRE_getID(tre), "raw_data") == 0;
}

TEST(TREEngine, FieldsOfEachTypeAreReadInOrder) {
    Layouts layouts({field(NITF_BCS_A, 4, "NAME"), field(NITF_BCS_N, 3, "NUMBER"),
                     field(NITF_BINARY, 3, "BYTES")});
    nitf_TRE* tre = layouts.read(std::string("AB  042") + std::string("\x01\x00\x02", 3));
    EXPECT_STREQ(nitf_TRE_getID(tre), "TTENG");
    EXPECT_EQ(names(tre), (Names{"NAME", "NUMBER", "BYTES"}));
    EXPECT_EQ(text(tre, "NAME"), "AB  ");
    EXPECT_EQ(text(tre, "NUMBER"), "042");
    EXPECT_EQ(text(tre, "BYTES"), std::string("\x01\x00\x02", 3));
    EXPECT_EQ(nitf_TRE_getField(tre, "NAME")->type, NITF_BCS_A);
    EXPECT_EQ(nitf_TRE_getField(tre, "NUMBER")->type, NITF_BCS_N);
    EXPECT_EQ(nitf_TRE_getField(tre, "BYTES")->type, NITF_BINARY);
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, LoopCountedByAField) {
    Layouts layouts({field(NITF_BCS_N, 1, "COUNT"), loop(nullptr, "COUNT"),
                     field(NITF_BCS_A, 2, "ITEM"), kEndLoop, field(NITF_BCS_A, 1, "TAIL")});
    nitf_TRE* tre = layouts.read("3aabbccZ");
    EXPECT_EQ(names(tre), (Names{"COUNT", "ITEM[0]", "ITEM[1]", "ITEM[2]", "TAIL"}));
    EXPECT_EQ(text(tre, "ITEM[1]"), "bb");
    EXPECT_EQ(text(tre, "TAIL"), "Z");
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, LoopCountedByAConstant) {
    Layouts layouts({loop(NITF_CONST_N, "2"), field(NITF_BCS_A, 1, "C"), kEndLoop});
    nitf_TRE* tre = layouts.read("xy");
    EXPECT_EQ(names(tre), (Names{"C[0]", "C[1]"}));
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, LoopCountWithArithmeticOnAField) {
    Layouts layouts({field(NITF_BCS_N, 1, "NPLN"), loop("- 1", "NPLN"), field(NITF_BCS_A, 1, "O"),
                     kEndLoop, loop("* 2", "NPLN"), field(NITF_BCS_A, 1, "P"), kEndLoop});
    nitf_TRE* tre = layouts.read("3ab123456");
    EXPECT_EQ(names(tre),
              (Names{"NPLN", "O[0]", "O[1]", "P[0]", "P[1]", "P[2]", "P[3]", "P[4]", "P[5]"}));
    nitf_TRE_destruct(&tre);
}

// NX[i] * NY[i] of the current outer index, as a computed-count function sees it.
int gridPoints(nitf_TRE* tre, char idx[10][10], int depth, nitf_Error* error) {
    if (depth != 1) {
        nitf_Error_init(error, "unexpected depth", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return -1;
    }
    std::string nx = std::string("NX") + idx[0];
    std::string ny = std::string("NY") + idx[0];
    int x = 0;
    int y = 0;
    if (!nitf_Field_get(nitf_TRE_getField(tre, nx.c_str()), &x, NITF_CONV_INT, 4, error) ||
        !nitf_Field_get(nitf_TRE_getField(tre, ny.c_str()), &y, NITF_CONV_INT, 4, error)) {
        return -1;
    }
    return x * y;
}

TEST(TREEngine, LoopCountComputedByAFunction) {
    Layouts layouts({field(NITF_BCS_N, 1, "N"), loop(nullptr, "N"), field(NITF_BCS_N, 1, "NX"),
                     field(NITF_BCS_N, 1, "NY"),
                     loop(NITF_FUNCTION, reinterpret_cast<const char*>(&gridPoints)),
                     field(NITF_BCS_A, 1, "V"), kEndLoop, kEndLoop});
    nitf_TRE* tre = layouts.read(
        "2"
        "12ab"
        "21cd");
    EXPECT_EQ(names(tre), (Names{"N", "NX[0]", "NY[0]", "V[0][0]", "V[0][1]", "NX[1]", "NY[1]",
                                 "V[1][0]", "V[1][1]"}));
    EXPECT_EQ(text(tre, "V[1][1]"), "d");
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, LoopCountFromAnExpression) {
    // (N + 1) * N / 2 values: a triangular covariance.
    Layouts layouts({field(NITF_BCS_N, 1, "N"), loop(NITF_TRE_LOOP_EXPRESSION, "N 1 + N * 2 /"),
                     field(NITF_BCS_A, 1, "COV"), kEndLoop});
    nitf_TRE* tre = layouts.read("3abcdef");
    EXPECT_EQ(names(tre).size(), 7u);
    EXPECT_EQ(text(tre, "COV[5]"), "f");
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, NestedLoopsNameFieldsWithOneSubscriptPerLevel) {
    Layouts layouts({field(NITF_BCS_N, 1, "NROW"), loop(nullptr, "NROW"),
                     field(NITF_BCS_N, 1, "NCOL"), loop(nullptr, "NCOL"),
                     field(NITF_BCS_A, 1, "VAL"), kEndLoop, kEndLoop});
    nitf_TRE* tre = layouts.read(
        "2"
        "2ab"
        "1c");
    EXPECT_EQ(names(tre),
              (Names{"NROW", "NCOL[0]", "VAL[0][0]", "VAL[0][1]", "NCOL[1]", "VAL[1][0]"}));
    EXPECT_EQ(text(tre, "VAL[0][1]"), "b");
    EXPECT_EQ(text(tre, "VAL[1][0]"), "c");
    EXPECT_EQ(nitf_TRE_getField(tre, "VAL[1][1]"), nullptr);
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, BracketedCounterTakesTheCurrentIndex) {
    Layouts layouts({field(NITF_BCS_N, 1, "NROW"), loop(nullptr, "NROW"),
                     field(NITF_BCS_N, 1, "NCOL"), loop(nullptr, "NCOL[]"),
                     field(NITF_BCS_A, 1, "VAL"), kEndLoop, kEndLoop});
    nitf_TRE* tre = layouts.read(
        "2"
        "1a"
        "2bc");
    EXPECT_EQ(names(tre),
              (Names{"NROW", "NCOL[0]", "VAL[0][0]", "NCOL[1]", "VAL[1][0]", "VAL[1][1]"}));
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, ConditionsEqAndNeCompareTheText) {
    Layouts layouts({field(NITF_BCS_A, 1, "FLAG"), when("eq Y", "FLAG"), field(NITF_BCS_A, 1, "A"),
                     kEndIf, when("ne Y", "FLAG"), field(NITF_BCS_A, 1, "B"), kEndIf});
    nitf_TRE* yes = layouts.read("Ya");
    EXPECT_EQ(names(yes), (Names{"FLAG", "A"}));
    nitf_TRE* no = layouts.read("Nb");
    EXPECT_EQ(names(no), (Names{"FLAG", "B"}));
    nitf_TRE_destruct(&yes);
    nitf_TRE_destruct(&no);
}

TEST(TREEngine, EqTextCoversTheWholeWidth) {
    Layouts layouts({field(NITF_BCS_A, 5, "USE"), when("eq AB", "USE"),
                     field(NITF_BCS_A, 1, "SHORT"), kEndIf, when("eq AB   ", "USE"),
                     field(NITF_BCS_A, 1, "PADDED"), kEndIf});
    nitf_TRE* tre = layouts.read("AB   x");
    EXPECT_EQ(names(tre), (Names{"USE", "PADDED"}));
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, BitTestSeesTheMaskAsTheFileDefinesIt) {
    Layouts layouts({field(NITF_BINARY, 4, "MASK"), when("& 0x80000000", "MASK"),
                     field(NITF_BCS_A, 1, "HIGH"), kEndIf, when("& 0x00000002", "MASK"),
                     field(NITF_BCS_A, 1, "TWO"), kEndIf, when("& 1", "MASK"),
                     field(NITF_BCS_A, 1, "ONE"), kEndIf});
    nitf_TRE* tre = layouts.read(std::string("\x80\x00\x00\x01", 4) + "hz");
    EXPECT_EQ(names(tre), (Names{"MASK", "HIGH", "ONE"}));
    EXPECT_EQ(written(tre), std::string("\x80\x00\x00\x01", 4) + "hz");
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, BitTestOnATwoByteMask) {
    Layouts layouts({field(NITF_BINARY, 2, "MASK"), when("& 0x0100", "MASK"),
                     field(NITF_BCS_A, 1, "SET"), kEndIf, when("& 0x0001", "MASK"),
                     field(NITF_BCS_A, 1, "CLEAR"), kEndIf});
    nitf_TRE* tre = layouts.read(std::string("\x01\x00", 2) + "s");
    EXPECT_EQ(names(tre), (Names{"MASK", "SET"}));
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, NumericComparisons) {
    Layouts layouts({field(NITF_BCS_N, 2, "NUM"), when("> 4", "NUM"), field(NITF_BCS_A, 1, "GT"),
                     kEndIf, when("< 5", "NUM"), field(NITF_BCS_A, 1, "LT"), kEndIf,
                     when(">= 5", "NUM"), field(NITF_BCS_A, 1, "GE"), kEndIf, when("<= 4", "NUM"),
                     field(NITF_BCS_A, 1, "LE"), kEndIf, when("== 5", "NUM"),
                     field(NITF_BCS_A, 1, "EQ"), kEndIf, when("!= 5", "NUM"),
                     field(NITF_BCS_A, 1, "NE"), kEndIf});
    nitf_TRE* tre = layouts.read("05abc");
    EXPECT_EQ(names(tre), (Names{"NUM", "GT", "GE", "EQ"}));
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, ConditionInsideALoopUsesTheCurrentIteration) {
    Layouts layouts({field(NITF_BCS_N, 1, "COUNT"), loop(nullptr, "COUNT"),
                     field(NITF_BCS_A, 1, "KIND"), when("eq B", "KIND"),
                     field(NITF_BCS_N, 2, "EXTRA"), kEndIf, kEndLoop});
    nitf_TRE* tre = layouts.read(
        "3"
        "A"
        "B12"
        "A");
    EXPECT_EQ(names(tre), (Names{"COUNT", "KIND[0]", "KIND[1]", "EXTRA[1]", "KIND[2]"}));
    EXPECT_EQ(text(tre, "EXTRA[1]"), "12");
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, LoopCountOfZeroSkipsTheGroup) {
    Layouts layouts({field(NITF_BCS_N, 2, "COUNT"), loop(nullptr, "COUNT"),
                     field(NITF_BCS_A, 2, "ITEM"), loop(NITF_CONST_N, "3"),
                     field(NITF_BCS_A, 1, "INNER"), kEndLoop, kEndLoop,
                     field(NITF_BCS_A, 1, "TAIL")});
    nitf_TRE* tre = layouts.read("00Z");
    EXPECT_EQ(names(tre), (Names{"COUNT", "TAIL"}));
    EXPECT_EQ(nitf_TRE_getCurrentSize(tre, nullptr), 3);
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, ConditionalLengthComesFromAnExpression) {
    Layouts layouts({field(NITF_BCS_N, 2, "LEN"),
                     field(NITF_BCS_A, NITF_TRE_CONDITIONAL_LENGTH, "LABEL", "LEN"),
                     field(NITF_BCS_N, 1, "COUNT"), field(NITF_BCS_N, 1, "SIZE"),
                     field(NITF_BINARY, NITF_TRE_CONDITIONAL_LENGTH, "DATA", "COUNT SIZE *"),
                     field(NITF_BCS_A, NITF_TRE_CONDITIONAL_LENGTH, "NONE", "0"),
                     field(NITF_BCS_A, 1, "TAIL")});
    nitf_TRE* tre = layouts.read(
        "03abc32"
        "abcdef"
        "T");
    EXPECT_EQ(names(tre), (Names{"LEN", "LABEL", "COUNT", "SIZE", "DATA", "TAIL"}));
    EXPECT_EQ(text(tre, "LABEL"), "abc");
    EXPECT_EQ(nitf_TRE_getField(tre, "DATA")->length, 6u);
    EXPECT_EQ(written(tre), "03abc32abcdefT");
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, ConditionalLengthOfAFourPartEntryIsInItsLabel) {
    Layouts layouts({field(NITF_BCS_N, 1, "N"),
                     {NITF_BCS_A, NITF_TRE_CONDITIONAL_LENGTH, "N 2 *", "TEXT", nullptr}});
    nitf_TRE* tre = layouts.read("2abcd");
    EXPECT_EQ(text(tre, "TEXT"), "abcd");
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, RestFieldTakesTheRemainingBytes) {
    Layouts layouts({field(NITF_BCS_A, 2, "HEAD"), field(NITF_BCS_A, NITF_TRE_GOBBLE, "REST")});
    nitf_TRE* tre = layouts.read("HIrest of it");
    EXPECT_EQ(text(tre, "REST"), "rest of it");
    EXPECT_EQ(nitf_TRE_getCurrentSize(tre, nullptr), 12);
    EXPECT_EQ(written(tre), "HIrest of it");

    nitf_TRE* bare = layouts.read("HI");
    EXPECT_EQ(names(bare), (Names{"HEAD"}));
    EXPECT_EQ(written(bare), "HI");
    nitf_TRE_destruct(&tre);
    nitf_TRE_destruct(&bare);
}

TEST(TREEngine, DataEndingEarlyKeepsTheTRERaw) {
    Layouts layouts({field(NITF_BCS_A, 4, "A"), field(NITF_BCS_A, 4, "B")});
    nitf_TRE* tre = layouts.read("abcdef");
    EXPECT_TRUE(isRaw(tre));
    EXPECT_EQ(text(tre, "raw_data"), "abcdef");
    EXPECT_EQ(nitf_TRE_getField(tre, "A"), nullptr);
    EXPECT_EQ(nitf_TRE_getCurrentSize(tre, nullptr), 6);
    EXPECT_EQ(written(tre), "abcdef");
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, DataLongerThanTheDescriptionKeepsTheTRERaw) {
    Layouts layouts({field(NITF_BCS_A, 2, "A")});
    nitf_TRE* tre = layouts.read("abc");
    EXPECT_TRUE(isRaw(tre));
    EXPECT_EQ(text(tre, "raw_data"), "abc");
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, LoopRunningPastTheDataKeepsTheTRERaw) {
    Layouts layouts({field(NITF_BCS_N, 2, "COUNT"), loop(nullptr, "COUNT"),
                     field(NITF_BCS_A, 2, "ITEM"), kEndLoop});
    nitf_TRE* tre = layouts.read("03aabb");
    EXPECT_TRUE(isRaw(tre));
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, HugeCountOverEmptyGroupsEndsRaw) {
    Layouts layouts({field(NITF_BCS_N, 8, "COUNT"), field(NITF_BCS_A, 1, "FLAG"),
                     loop(nullptr, "COUNT"), when("eq Y", "FLAG"), field(NITF_BCS_A, 1, "X"),
                     kEndIf, kEndLoop});
    nitf_TRE* tre = layouts.read("99999999N");
    EXPECT_TRUE(isRaw(tre));
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, UnknownConditionOperatorKeepsTheTRERaw) {
    Layouts layouts(
        {field(NITF_BCS_A, 1, "FLAG"), when("neq Y", "FLAG"), field(NITF_BCS_A, 1, "A"), kEndIf});
    nitf_TRE* tre = layouts.read("Ya");
    EXPECT_TRUE(isRaw(tre));
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, MissingCounterFieldKeepsTheTRERaw) {
    Layouts layouts({loop(nullptr, "NOWHERE"), field(NITF_BCS_A, 1, "A"), kEndLoop});
    nitf_TRE* tre = layouts.read("a");
    EXPECT_TRUE(isRaw(tre));
    nitf_TRE_destruct(&tre);
}

// A layout with every kind of entry, and data for it.
std::vector<nitf_TREDescription> mixedLayout() {
    return {field(NITF_BCS_A, 3, "ID"),
            field(NITF_BINARY, 2, "SHORT"),
            field(NITF_BINARY, 4, "LONG"),
            field(NITF_BINARY, 8, "WIDE"),
            field(NITF_BCS_N, 1, "N"),
            loop(nullptr, "N"),
            field(NITF_BCS_A, 1, "K"),
            when("eq X", "K"),
            field(NITF_BCS_N, 2, "XV"),
            kEndIf,
            kEndLoop,
            field(NITF_BCS_A, NITF_TRE_GOBBLE, "REST")};
}

const std::string kMixedData =
    std::string("abc") + std::string("\x01\x02", 2) + std::string("\x01\x02\x03\x04", 4) +
    std::string("\x01\x02\x03\x04\x05\x06\x07\x08", 8) + "2X12Y" + "tail";

TEST(TREEngine, CurrentSizeIsTheParsedLength) {
    Layouts layouts(mixedLayout());
    nitf_TRE* tre = layouts.read(kMixedData);
    ASSERT_FALSE(isRaw(tre));
    nitf_Error error{};
    EXPECT_EQ(nitf_TRE_getCurrentSize(tre, &error), static_cast<int>(kMixedData.size()));
    EXPECT_EQ(nitf_TREUtils_computeLength(tre), static_cast<int>(kMixedData.size()));
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, WritingReproducesTheInputBytes) {
    Layouts layouts(mixedLayout());
    nitf_TRE* tre = layouts.read(kMixedData);
    EXPECT_EQ(written(tre), kMixedData);
    nitf_Error error{};
    uint32_t length = 0;
    char* raw = nitf_TREUtils_getRawData(tre, &length, &error);
    ASSERT_NE(raw, nullptr);
    EXPECT_EQ(std::string(raw, length), kMixedData);
    std::free(raw);
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, EnumeratorFollowsTheDescriptionOrderWithLabels) {
    Layouts layouts(mixedLayout());
    nitf_TRE* tre = layouts.read(kMixedData);
    nitf_Error error{};
    std::vector<std::string> seen;
    std::vector<std::string> labels;
    nitf_TREEnumerator* it = nitf_TRE_begin(tre, &error);
    ASSERT_NE(it, nullptr);
    while (it != nullptr && it->hasNext(&it)) {
        nitf_Pair* pair = it->next(it, &error);
        ASSERT_NE(pair, nullptr);
        seen.emplace_back(pair->key);
        labels.emplace_back(it->getFieldDescription(it, &error));
        EXPECT_EQ(pair->data, nitf_TRE_getField(tre, pair->key));
    }
    EXPECT_EQ(it, nullptr);
    EXPECT_EQ(seen, (Names{"ID", "SHORT", "LONG", "WIDE", "N", "K[0]", "XV[0]", "K[1]", "REST"}));
    EXPECT_EQ(labels[6], "XV");
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, CloneHasEqualFieldsAndIsIndependent) {
    Layouts layouts(mixedLayout());
    nitf_TRE* tre = layouts.read(kMixedData);
    nitf_Error error{};
    nitf_TRE* copy = nitf_TRE_clone(tre, &error);
    ASSERT_NE(copy, nullptr) << error.message;
    EXPECT_STREQ(nitf_TRE_getID(copy), nitf_TRE_getID(tre));
    EXPECT_EQ(names(copy), names(tre));
    for (const std::string& name : names(tre)) {
        EXPECT_EQ(text(copy, name.c_str()), text(tre, name.c_str())) << name;
    }
    EXPECT_EQ(written(copy), kMixedData);
    ASSERT_TRUE(nitf_TRE_setField(copy, "ID", const_cast<char*>("xyz"), 3, &error));
    EXPECT_EQ(text(tre, "ID"), "abc");
    EXPECT_EQ(text(copy, "ID"), "xyz");
    nitf_TRE_destruct(&copy);
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, SetFieldChangesValuesAndTheLayoutFollowsCounts) {
    Layouts layouts({field(NITF_BCS_N, 1, "COUNT"), loop(nullptr, "COUNT"),
                     field(NITF_BCS_A, 2, "ITEM"), kEndLoop, field(NITF_BCS_A, 1, "TAIL")});
    nitf_TRE* tre = layouts.read("1aaZ");
    nitf_Error error{};
    ASSERT_TRUE(nitf_TRE_setField(tre, "ITEM[0]", const_cast<char*>("b"), 1, &error));
    EXPECT_EQ(text(tre, "ITEM[0]"), "b ");
    ASSERT_TRUE(nitf_TRE_setField(tre, "COUNT", const_cast<char*>("3"), 1, &error));
    EXPECT_EQ(names(tre), (Names{"COUNT", "ITEM[0]", "ITEM[1]", "ITEM[2]", "TAIL"}));
    EXPECT_EQ(text(tre, "ITEM[2]"), "  ");
    ASSERT_TRUE(nitf_TRE_setField(tre, "ITEM[2]", const_cast<char*>("cc"), 2, &error));
    EXPECT_EQ(written(tre), "3b   ccZ");
    EXPECT_EQ(nitf_TRE_getCurrentSize(tre, &error), 8);

    ASSERT_TRUE(nitf_TRE_setField(tre, "COUNT", const_cast<char*>("0"), 1, &error));
    EXPECT_EQ(nitf_TRE_getField(tre, "ITEM[0]"), nullptr);
    EXPECT_EQ(written(tre), "0Z");

    EXPECT_FALSE(nitf_TRE_setField(tre, "ITEM[0]", const_cast<char*>("x"), 1, &error));
    EXPECT_NE(std::string(error.message).find("ITEM[0]"), std::string::npos) << error.message;
    EXPECT_FALSE(nitf_TRE_setField(tre, "TAIL", const_cast<char*>("toolong"), 7, &error));
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, SetFieldResizesAConditionalLengthField) {
    Layouts layouts({field(NITF_BCS_N, 2, "LEN"),
                     field(NITF_BCS_A, NITF_TRE_CONDITIONAL_LENGTH, "LABEL", "LEN")});
    nitf_TRE* tre = layouts.read("02ab");
    nitf_Error error{};
    ASSERT_TRUE(nitf_TRE_setField(tre, "LEN", const_cast<char*>("04"), 2, &error));
    EXPECT_EQ(text(tre, "LABEL"), "ab  ");
    ASSERT_TRUE(nitf_TRE_setField(tre, "LABEL", const_cast<char*>("wxyz"), 4, &error));
    EXPECT_EQ(written(tre), "04wxyz");
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, BinaryFieldsOfEveryWidthGiveTheirTrueValues) {
    Layouts layouts({field(NITF_BINARY, 1, "B1"), field(NITF_BINARY, 2, "B2"),
                     field(NITF_BINARY, 4, "B4"), field(NITF_BINARY, 8, "B8")});
    const std::string data = std::string("\x7f", 1) + std::string("\x01\x02", 2) +
                             std::string("\x01\x02\x03\x04", 4) +
                             std::string("\x01\x02\x03\x04\x05\x06\x07\x08", 8);
    nitf_TRE* tre = layouts.read(data);
    nitf_Error error{};
    uint8_t b1 = 0;
    ASSERT_TRUE(nitf_Field_get(nitf_TRE_getField(tre, "B1"), &b1, NITF_CONV_UINT, 1, &error));
    EXPECT_EQ(b1, 0x7f);
    // Two-byte fields are held in host order: read as they are.
    uint16_t b2 = 0;
    ASSERT_TRUE(nitf_Field_get(nitf_TRE_getField(tre, "B2"), &b2, NITF_CONV_UINT, 2, &error));
    EXPECT_EQ(b2, 0x0102);
    // Four- and eight-byte fields are held in the file's order: swapped from network order.
    uint32_t b4 = 0;
    ASSERT_TRUE(nitf_Field_get(nitf_TRE_getField(tre, "B4"), &b4, NITF_CONV_UINT, 4, &error));
    EXPECT_EQ(nitf_System_swap32(b4), 0x01020304u);
    uint64_t b8 = 0;
    ASSERT_TRUE(nitf_Field_get(nitf_TRE_getField(tre, "B8"), &b8, NITF_CONV_UINT, 8, &error));
    EXPECT_EQ(nitf_System_swap64(b8), 0x0102030405060708ull);
    EXPECT_EQ(written(tre), data);
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, BinaryCountersOfEveryWidthCountTheirTrueValue) {
    for (int width : {1, 2, 4, 8}) {
        Layouts layouts({field(NITF_BINARY, width, "COUNT"), loop(nullptr, "COUNT"),
                         field(NITF_BCS_A, 1, "V"), kEndLoop});
        std::string data(static_cast<size_t>(width), '\0');
        data.back() = '\x02';
        nitf_TRE* tre = layouts.read(data + "ab");
        EXPECT_EQ(names(tre), (Names{"COUNT", "V[0]", "V[1]"})) << width;
        nitf_TRE_destruct(&tre);
    }
}

TEST(TREEngine, RawDataOfAParsedTREHoldsItsBytesAsInTheFile) {
    Layouts layouts(mixedLayout());
    nitf_TRE* tre = layouts.read(kMixedData);
    nitf_Field* raw = nitf_TRE_getField(tre, "raw_data");
    ASSERT_NE(raw, nullptr);
    EXPECT_EQ(raw->type, NITF_BINARY);
    EXPECT_EQ(std::string(raw->raw, raw->length), kMixedData);
    EXPECT_TRUE(nitf_TRE_exists(tre, "raw_data"));
    EXPECT_EQ(names(tre).size(), 9u);  // the view is not one of the fields

    nitf_Error error{};
    EXPECT_FALSE(nitf_TRE_setField(tre, "raw_data", const_cast<char*>("x"), 1, &error));
    EXPECT_NE(std::string(error.message).find("read-only"), std::string::npos);

    ASSERT_TRUE(nitf_TRE_setField(tre, "ID", const_cast<char*>("XYZ"), 3, &error));
    nitf_Field* again = nitf_TRE_getField(tre, "raw_data");
    EXPECT_EQ(again, raw);
    EXPECT_EQ(std::string(again->raw, 3), "XYZ");
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, FindListsMatchingFieldsInOrder) {
    Layouts layouts(mixedLayout());
    nitf_TRE* tre = layouts.read(kMixedData);
    nitf_Error error{};
    nitf_List* found = nitf_TRE_find(tre, "K[", &error);
    ASSERT_NE(found, nullptr);
    std::vector<std::string> keys;
    for (nitf_ListIterator it = nitf_List_begin(found), end = nitf_List_end(found);
         nitf_ListIterator_notEqualTo(&it, &end); nitf_ListIterator_increment(&it)) {
        keys.emplace_back(static_cast<nitf_Pair*>(nitf_ListIterator_get(&it))->key);
    }
    EXPECT_EQ(keys, (Names{"K[0]", "K[1]"}));
    nitf_List_destruct(&found);
    EXPECT_EQ(nitf_TRE_find(tre, "NOTHING", &error), nullptr);
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, ConstructedTREHasDefaultValues) {
    Layouts layouts({field(NITF_BCS_A, 3, "A"), field(NITF_BCS_N, 3, "N"),
                     field(NITF_BINARY, 2, "B"), field(NITF_BCS_N, 1, "COUNT"),
                     loop(nullptr, "COUNT"), field(NITF_BCS_A, 1, "ITEM"), kEndLoop,
                     field(NITF_BCS_A, NITF_TRE_GOBBLE, "REST")});
    nitf_TRE* tre = layouts.construct(nullptr);
    ASSERT_NE(tre, nullptr) << layouts.lastError;
    EXPECT_EQ(text(tre, "A"), "   ");
    EXPECT_EQ(text(tre, "N"), "000");
    EXPECT_EQ(text(tre, "B"), std::string(2, '\0'));
    EXPECT_EQ(names(tre), (Names{"A", "N", "B", "COUNT", "REST"}));
    EXPECT_TRUE(nitf_TRE_getField(tre, "REST")->resizable);
    EXPECT_EQ(nitf_TRE_getCurrentSize(tre, nullptr), 10);
    nitf_Error error{};
    ASSERT_TRUE(nitf_TRE_setField(tre, "REST", const_cast<char*>("longer"), 6, &error));
    EXPECT_EQ(nitf_TRE_getCurrentSize(tre, nullptr), 15);
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, InitChoosesTheDescriptionById) {
    Layouts layouts({{"TTINIT_A", {field(NITF_BCS_A, 1, "ONLY_A")}},
                     {"TTINIT_B", {field(NITF_BCS_A, 1, "ONLY_B")}}},
                    1);
    nitf_TRE* byDefault = layouts.construct(nullptr);
    ASSERT_NE(byDefault, nullptr);
    EXPECT_STREQ(nitf_TRE_getID(byDefault), "TTINIT_B");
    nitf_TRE* named = layouts.construct("TTINIT_A");
    ASSERT_NE(named, nullptr);
    EXPECT_STREQ(nitf_TRE_getID(named), "TTINIT_A");
    EXPECT_NE(nitf_TRE_getField(named, "ONLY_A"), nullptr);
    // The TRE's own name stands for the default description.
    nitf_TRE* byTag = layouts.construct("TTENG");
    ASSERT_NE(byTag, nullptr);
    EXPECT_STREQ(nitf_TRE_getID(byTag), "TTINIT_B");
    EXPECT_EQ(layouts.construct("TTINIT_C"), nullptr);
    EXPECT_NE(layouts.lastError.find("TTINIT_C"), std::string::npos);
    nitf_TRE_destruct(&byDefault);
    nitf_TRE_destruct(&named);
    nitf_TRE_destruct(&byTag);
}

TEST(TREEngine, ReadingPrefersTheDescriptionMadeForTheLength) {
    Layouts layouts({{"ANY", {field(NITF_BCS_A, NITF_TRE_GOBBLE, "TEXT")}},
                     {"FIVE", {field(NITF_BCS_N, 5, "CRC")}, 5},
                     {"EIGHT", {field(NITF_BCS_N, 5, "CRC"), field(NITF_BCS_A, 3, "MORE")}, 8}});
    nitf_TRE* five = layouts.read("12345");
    EXPECT_STREQ(nitf_TRE_getID(five), "FIVE");
    nitf_TRE* eight = layouts.read("12345abc");
    EXPECT_STREQ(nitf_TRE_getID(eight), "EIGHT");
    nitf_TRE* other = layouts.read("1234");
    EXPECT_STREQ(nitf_TRE_getID(other), "ANY");
    nitf_TRE_destruct(&five);
    nitf_TRE_destruct(&eight);
    nitf_TRE_destruct(&other);
}

TEST(TREEngine, LaterDescriptionIsTriedWhenTheFirstDoesNotFit) {
    Layouts layouts({{"SHORT", {field(NITF_BCS_A, 2, "A")}},
                     {"LONG", {field(NITF_BCS_A, 2, "A"), field(NITF_BCS_A, 2, "B")}}});
    nitf_TRE* tre = layouts.read("abcd");
    EXPECT_STREQ(nitf_TRE_getID(tre), "LONG");
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, ParseWorksOnTheDefaultDescription) {
    Layouts layouts(mixedLayout());
    nitf_Error error{};
    nitf_TRE* tre = nitf_TRE_createSkeleton("TTENG", &error);
    tre->handler = layouts.handler();
    ASSERT_TRUE(
        nitf_TREUtils_setDescription(tre, static_cast<uint32_t>(kMixedData.size()), &error));
    std::string buffer = kMixedData;
    ASSERT_TRUE(nitf_TREUtils_parse(tre, buffer.data(), &error)) << error.message;
    EXPECT_TRUE(nitf_TREUtils_isSane(tre));
    EXPECT_EQ(text(tre, "XV[0]"), "12");

    ASSERT_TRUE(nitf_TREUtils_setDescription(tre, 3, &error));
    EXPECT_FALSE(nitf_TREUtils_parse(tre, buffer.data(), &error));
    EXPECT_NE(std::string(error.message).find("TTENG"), std::string::npos) << error.message;
    nitf_TRE_destruct(&tre);
}

TEST(TREEngine, AnyBytesAreWrittenBackUnchanged) {
    // Parsed or kept raw, a TRE read from arbitrary bytes writes the same bytes.
    Layouts layouts({field(NITF_BCS_N, 1, "N"), loop(nullptr, "N"), field(NITF_BINARY, 2, "M"),
                     when("& 0x0001", "M"), field(NITF_BCS_N, 1, "L"),
                     field(NITF_BCS_A, NITF_TRE_CONDITIONAL_LENGTH, "S", "L 1 +"), kEndIf, kEndLoop,
                     field(NITF_BINARY, NITF_TRE_GOBBLE, "REST")});
    unsigned seed = 12345;
    auto next = [&seed] {
        seed = seed * 1103515245u + 12345u;
        return static_cast<char>((seed >> 16) & 0xff);
    };
    int parsed = 0;
    for (int round = 0; round < 400; ++round) {
        std::string data(static_cast<size_t>(round % 23), '\0');
        for (char& c : data) {
            c = next();
        }
        if (round % 2 == 0 && !data.empty()) {
            data[0] = static_cast<char>('0' + round % 4);
        }
        nitf_TRE* tre = layouts.read(data);
        parsed += isRaw(tre) ? 0 : 1;
        EXPECT_EQ(written(tre), data) << round;
        EXPECT_EQ(nitf_TRE_getCurrentSize(tre, nullptr), static_cast<int>(data.size())) << round;
        nitf_TRE_destruct(&tre);
    }
    EXPECT_GT(parsed, 0);
    EXPECT_LT(parsed, 400);
}

TEST(TREEngine, EmptyDescriptionSetIsRefused) {
    nitf_TREDescriptionInfo none[] = {{nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH}};
    nitf_TREDescriptionSet set = {0, none};
    nitf_TREHandler handler{};
    nitf_Error error{};
    EXPECT_EQ(nitf_TREUtils_createBasicHandler(&set, &handler, &error), nullptr);
    EXPECT_NE(error.level, NITF_NO_ERR);
}

}  // namespace
