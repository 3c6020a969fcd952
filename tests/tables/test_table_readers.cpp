#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <variant>

#include "tables/table_test_files.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/tables/MultiTRETableReader.h"
#include "tessel/tables/SingleTREMultiLevelTableReader.h"
#include "tessel/tables/SingleTRETableReader.h"

using Tessel::FieldDefinition;
using Tessel::SingleTREMultiLevelTableReader;
using Tessel::TableArguments;
using namespace table_test;

namespace {

const std::string flatSource = R"([{"name":"TBLSGL","segment":"Images","index":0}])";
const std::string itemField = R"([{"name":"ITEM","type":"string"}])";

class TableReaders : public ::testing::Test {
protected:
    void SetUp() override { registerTableTREs(); }

    std::shared_ptr<Tessel::NITFFile> open(const std::vector<std::vector<std::string>>& imageTres,
                                           const std::string& headerTres = {}) {
        auto file = writeAndOpen(dir_ / "table.ntf", imageTres, headerTres);
        EXPECT_EQ(file->getNumberImages(), imageTres.size());
        return file;
    }

    static std::wstring cell(const Tessel::TableReader& reader, int row, int column) {
        const any_type::value value = reader.GetValue(row, column);
        if (const auto* text = std::get_if<std::wstring>(&value)) {
            return *text;
        }
        if (const auto* text = std::get_if<std::string>(&value)) {
            return std::to_wstring(*text);
        }
        return L"<" + std::to_wstring(static_cast<int>(value.index())) + L">";
    }

    file_test::TempDir dir_;
};

TEST_F(TableReaders, SingleTreReadsRowsOfTheCountField) {
    auto file = open({{flatTre({"ab", "cd", "ef"}, "L")}});
    auto reader = file->getTableReader(definition("SingleTRE", itemField, flatSource, "COUNT"));
    ASSERT_TRUE(reader);
    EXPECT_NE(std::dynamic_pointer_cast<Tessel::SingleTRETableReader>(reader), nullptr);
    ASSERT_EQ(reader->GetRowCount(), 3);
    EXPECT_EQ(cell(*reader, 0, 0), L"ab");
    EXPECT_EQ(cell(*reader, 2, 0), L"ef");
    EXPECT_EQ(reader->GetValue(1, 0).index(), any_type::tag_wstring);
    EXPECT_THROW((void)reader->GetValue(0, 1), std::out_of_range);
}

TEST_F(TableReaders, SingleTreWithEmptyRowCountFieldHasNoRows) {
    auto file = open({{flatTre({"ab", "cd"}, "L")}});
    auto reader = file->getTableReader(definition("SingleTRE", itemField, flatSource));
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->GetRowCount(), 0);
    TableArguments arguments = definition("SingleTRE", itemField, flatSource);
    arguments[L"RowCountField"] = std::string();
    EXPECT_EQ(file->getTableReader(arguments)->GetRowCount(), 0);
}

TEST_F(TableReaders, SingleTreCountFieldOfTextCountsItsLeadingDigits) {
    // The record layer reads a number from text as far as it holds digits.
    auto file = open({{flatTre({"ab"}, "2xyz")}});
    auto reader = file->getTableReader(definition("SingleTRE", itemField, flatSource, "LABEL"));
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->GetRowCount(), 2);
    auto other = writeAndOpen(dir_ / "other.ntf", {{flatTre({"ab"}, "L")}});
    auto text = other->getTableReader(definition("SingleTRE", itemField, flatSource, "LABEL"));
    EXPECT_EQ(text->GetRowCount(), 0);
    auto missing = file->getTableReader(definition("SingleTRE", itemField, flatSource, "NOPE"));
    EXPECT_EQ(missing->GetRowCount(), 0);
}

TEST_F(TableReaders, SingleTreFieldThatDoesNotExistGivesAnEmptyCell) {
    auto file = open({{flatTre({"ab"}, "L")}});
    auto reader = file->getTableReader(
        definition("SingleTRE", R"([{"name":"NOSUCH","type":"string"}])", flatSource, "COUNT"));
    ASSERT_EQ(reader->GetRowCount(), 1);
    EXPECT_EQ(reader->GetValue(0, 0).index(), any_type::tag_empty);
    // A row past the count names a field that isn't there either.
    auto items = file->getTableReader(definition("SingleTRE", itemField, flatSource, "COUNT"));
    EXPECT_EQ(items->GetValue(5, 0).index(), any_type::tag_empty);
}

TEST_F(TableReaders, IndexGivenAsTextBehavesAsTheNumber) {
    auto file = open({{}, {}, {flatTre({"zz"}, "L")}});
    const auto rows = [&](const std::string& index) {
        const std::string sources =
            R"([{"name":"TBLSGL","segment":"Images","index":)" + index + "}]";
        return file->getTableReader(definition("MultiTRE", itemField, sources))->GetRowCount();
    };
    EXPECT_EQ(rows("2"), 1);
    EXPECT_EQ(rows("\"2\""), 1);
    EXPECT_EQ(rows("\"+2\""), 1);
    EXPECT_EQ(rows("\"x\""), 0);
    EXPECT_EQ(rows("\"1\""), 0);
}

TEST_F(TableReaders, SourceWithANumberAsNameIsSkippedAndOneWithoutNameThrows) {
    auto file = open({{flatTre({"ab"}, "L")}});
    const std::string numbered =
        R"([{"name":5,"segment":"Images","index":0},{"name":"TBLSGL","segment":"Images","index":0}])";
    auto reader = file->getTableReader(definition("MultiTRE", itemField, numbered));
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->GetRowCount(), 1);
    const std::string nameless = R"([{"segment":"Images","index":0}])";
    EXPECT_THROW(file->getTableReader(definition("MultiTRE", itemField, nameless)),
                 nlohmann::json::out_of_range);
    const std::string notObject = R"([17])";
    EXPECT_THROW(file->getTableReader(definition("MultiTRE", itemField, notObject)),
                 nlohmann::json::type_error);
    const std::string noIndex = R"([{"name":"TBLSGL","segment":"Images"}])";
    EXPECT_THROW(file->getTableReader(definition("MultiTRE", itemField, noIndex)),
                 nlohmann::json::out_of_range);
}

TEST_F(TableReaders, MalformedJsonLeavesGetTableReader) {
    auto file = open({{flatTre({"ab"}, "L")}});
    EXPECT_THROW(file->getTableReader(definition("MultiTRE", "[{", flatSource)),
                 nlohmann::json::parse_error);
    EXPECT_THROW(file->getTableReader(definition("MultiTRE", itemField, "nope")),
                 nlohmann::json::parse_error);
    EXPECT_THROW(file->getTableReader(definition("MultiTRE", R"([{"name":"A"}])", flatSource)),
                 nlohmann::json::out_of_range);
}

TEST_F(TableReaders, MultiTreOverHeaderAndTwoImagesHasOneRowPerTreInSourceOrder) {
    auto file =
        open({{flatTre({}, "I0A"), flatTre({}, "I0B")}, {flatTre({}, "I1")}}, flatTre({}, "HDR"));
    const std::string sources = R"([{"name":"TBLSGL","segment":"FileHeader","index":9},
        {"name":"TBLSGL","segment":"Images","index":0},
        {"name":"TBLSGL","segment":"Images","index":"1"}])";
    auto reader = file->getTableReader(definition("MultiTRE", R"([{"name":"LABEL","type":"string"},
            {"name":"NOPE","type":"integer"}])",
                                                  sources));
    ASSERT_TRUE(reader);
    EXPECT_NE(std::dynamic_pointer_cast<Tessel::MultiTRETableReader>(reader), nullptr);
    ASSERT_EQ(reader->GetRowCount(), 4);
    EXPECT_EQ(cell(*reader, 0, 0), L"HDR");
    EXPECT_EQ(cell(*reader, 1, 0), L"I0A");
    EXPECT_EQ(cell(*reader, 2, 0), L"I0B");
    EXPECT_EQ(cell(*reader, 3, 0), L"I1");
    // A field that isn't there is an empty value; rows and columns out of range throw.
    EXPECT_EQ(reader->GetValue(0, 1).index(), any_type::tag_empty);
    EXPECT_THROW((void)reader->GetValue(4, 0), std::out_of_range);
    EXPECT_THROW((void)reader->GetValue(-1, 0), std::out_of_range);
    EXPECT_THROW((void)reader->GetValue(0, 2), std::out_of_range);
    // Images listed first come first.
    const std::string imagesFirst = R"([{"name":"TBLSGL","segment":"Images","index":1},
        {"name":"TBLSGL","segment":"FileHeader","index":0}])";
    auto reordered = file->getTableReader(
        definition("MultiTRE", R"([{"name":"LABEL","type":"string"}])", imagesFirst));
    ASSERT_EQ(reordered->GetRowCount(), 2);
    EXPECT_EQ(cell(*reordered, 0, 0), L"I1");
    EXPECT_EQ(cell(*reordered, 1, 0), L"HDR");
}

TEST_F(TableReaders, SourcesThatFindNothingGiveNoRows) {
    auto file = open({{flatTre({"ab"}, "L")}});
    const std::string elsewhere = R"([{"name":"TBLSGL","segment":"Graphics","index":0},
        {"name":"TBLSGL","segment":"Images","index":7},{"name":"TBLSG","segment":"Images","index":0}])";
    EXPECT_EQ(file->getTableReader(definition("MultiTRE", itemField, elsewhere))->GetRowCount(), 0);
    EXPECT_EQ(
        file->getTableReader(definition("SingleTRE", itemField, elsewhere, "COUNT"))->GetRowCount(),
        0);
    EXPECT_EQ(file->getTableReader(definition("SingleTRENested", itemField, elsewhere, "COUNT"))
                  ->GetRowCount(),
              0);
}

TEST_F(TableReaders, UnknownOrMissingTableTypeGivesNoReader) {
    auto file = open({{flatTre({"ab"}, "L")}});
    EXPECT_FALSE(file->getTableReader(definition("singleTRE", itemField, flatSource, "COUNT")));
    EXPECT_FALSE(file->getTableReader(definition("Other", itemField, flatSource)));
    TableArguments arguments = definition("SingleTRE", itemField, flatSource, "COUNT");
    arguments.erase(L"TableType");
    EXPECT_FALSE(file->getTableReader(arguments));
}

TEST_F(TableReaders, TypeWordOutsideTheTableIsString) {
    auto file = open({{flatTre({"ab"}, "L")}});
    auto reader = file->getTableReader(definition("MultiTRE", R"([{"name":"A","type":"float"},
        {"name":"B","type":"double"},{"name":"C","type":"integer"},{"name":"D","type":"oid"},
        {"name":"E","type":"string"}])",
                                                  flatSource));
    ASSERT_EQ(reader->GetFields().size(), 5U);
    EXPECT_EQ(reader->GetFields()[0].type, FieldDefinition::eString);
    EXPECT_EQ(reader->GetFields()[1].type, FieldDefinition::eDouble);
    EXPECT_EQ(reader->GetFields()[2].type, FieldDefinition::eInteger);
    EXPECT_EQ(reader->GetFields()[3].type, FieldDefinition::eOID);
    EXPECT_EQ(reader->GetFields()[4].type, FieldDefinition::eString);
    EXPECT_EQ(reader->GetFields()[2].name, L"C");
    TableArguments noFields = definition("MultiTRE", itemField, flatSource);
    noFields.erase(L"Fields");
    EXPECT_TRUE(file->getTableReader(noFields)->GetFields().empty());
}

const std::string nestedSource = R"([{"name":"TBLNST","segment":"Images","index":0}])";

TEST_F(TableReaders, NestedColumnShowsTheNameBeforeItsFirstDot) {
    auto file = open({{nestedTre({{"A0", {"v00"}}})}});
    auto reader = file->getTableReader(definition("SingleTRENested",
                                                  R"([{"name":"ATTR.i.VALUE.j","type":"string"},
            {"name":"VALUE.i.n","type":"string"}])",
                                                  nestedSource, "i=NUMA,n=NUMB.i"));
    ASSERT_TRUE(reader);
    EXPECT_NE(std::dynamic_pointer_cast<SingleTREMultiLevelTableReader>(reader), nullptr);
    EXPECT_EQ(reader->GetFields()[0].name, L"ATTR");
    EXPECT_EQ(reader->GetFields()[1].name, L"VALUE");
}

TEST_F(TableReaders, NestedLevelReadsOneCountPerOuterIndex) {
    auto file = open({{nestedTre({{"A0", {"v00", "v01"}}, {"A1", {}}, {"A2", {"v20"}}})}});
    auto reader = file->getTableReader(definition(
        "SingleTRENested", R"([{"name":"X.i","type":"string"},{"name":"VALUE.i.n","type":"string"},
            {"name":"MISSING.i","type":"string"}])",
        nestedSource, " i=NUMA , n=NUMB.i ,"));
    ASSERT_TRUE(reader);
    // NUMB[0] is 2, NUMB[1] 0 (no rows), NUMB[2] 1: the last level runs fastest.
    ASSERT_EQ(reader->GetRowCount(), 3);
    EXPECT_EQ(cell(*reader, 0, 0), L"A0");
    EXPECT_EQ(cell(*reader, 0, 1), L"v00");
    EXPECT_EQ(cell(*reader, 1, 1), L"v01");
    EXPECT_EQ(cell(*reader, 2, 0), L"A2");
    EXPECT_EQ(cell(*reader, 2, 1), L"v20");
    // Narrow raw text, and " - " for a field that isn't there.
    EXPECT_EQ(reader->GetValue(2, 0).index(), any_type::tag_string);
    EXPECT_EQ(std::get<std::string>(reader->GetValue(2, 2)), " - ");
    EXPECT_EQ(reader->GetValue(3, 0).index(), any_type::tag_empty);
    EXPECT_EQ(reader->GetValue(-1, 0).index(), any_type::tag_empty);
    EXPECT_THROW((void)reader->GetValue(0, 3), std::out_of_range);
}

TEST_F(TableReaders, NestedCellsAreRawTextNotTrimmed) {
    auto file = open({{nestedTre({{"A", {"v"}}})}});
    auto reader = file->getTableReader(definition("SingleTRENested",
                                                  R"([{"name":"VALUE.i.n","type":"string"}])",
                                                  nestedSource, "i=NUMA,n=NUMB.i"));
    ASSERT_EQ(reader->GetRowCount(), 1);
    EXPECT_EQ(std::get<std::string>(reader->GetValue(0, 0)), "v  ");
}

TEST_F(TableReaders, BareLevelIsItsOwnKey) {
    auto file = open({{nestedTre({{"P", {}}, {"Q", {}}})}});
    auto reader = file->getTableReader(definition(
        "SingleTRENested", R"([{"name":"X.NUMA","type":"string"}])", nestedSource, "NUMA"));
    ASSERT_EQ(reader->GetRowCount(), 2);
    EXPECT_EQ(cell(*reader, 0, 0), L"P ");
    EXPECT_EQ(cell(*reader, 1, 0), L"Q ");
}

TEST_F(TableReaders, NestedRowsOfALaterTreShowTheFirstTresValues) {
    auto file = open({{nestedTre({{"F", {}}}), nestedTre({{"S", {}}, {"T", {}}})}});
    auto reader = file->getTableReader(definition(
        "SingleTRENested", R"([{"name":"X.i","type":"string"}])", nestedSource, "i=NUMA"));
    ASSERT_EQ(reader->GetRowCount(), 3);
    EXPECT_EQ(cell(*reader, 0, 0), L"F ");
    EXPECT_EQ(cell(*reader, 1, 0), L"F ");
    EXPECT_EQ(cell(*reader, 2, 0), L" - ");
}

TEST_F(TableReaders, NestedWithoutRowCountFieldHasNoRows) {
    auto file = open({{nestedTre({{"F", {}}})}});
    TableArguments arguments =
        definition("SingleTRENested", R"([{"name":"X.i","type":"string"}])", nestedSource);
    auto reader = file->getTableReader(arguments);
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->GetRowCount(), 0);
    EXPECT_EQ(reader->GetValue(0, 0).index(), any_type::tag_empty);
}

TEST_F(TableReaders, NestedLevelNamingATextFieldCountsNothing) {
    auto file = open({{nestedTre({{"99", {}}})}});
    auto reader = file->getTableReader(definition(
        "SingleTRENested", R"([{"name":"X.i","type":"string"}])", nestedSource, "i=X.NUMA"));
    // X[0] holds "99" but X has no index here: "X" alone isn't a field.
    EXPECT_EQ(reader->GetRowCount(), 0);
}

TEST_F(TableReaders, NestedCountAboveTheTresSizeIsHeldToIt) {
    auto file = open({{flatTre({"ab"}, "9999")}});
    const std::string sources = R"([{"name":"TBLSGL","segment":"Images","index":0}])";
    auto reader =
        file->getTableReader(definition("SingleTRENested", itemField, sources, "i=LABEL,j=LABEL"));
    // The TRE is 9 bytes long: no more rows than that, however large the claimed count.
    EXPECT_LE(reader->GetRowCount(), 9);
    EXPECT_GT(reader->GetRowCount(), 0);
}

TEST(TableNameTemplates, ExpandKeysAndKeepLiteralPieces) {
    const SingleTREMultiLevelTableReader::RowIndices indices{{"i", 2}, {"j", 3}};
    EXPECT_EQ(SingleTREMultiLevelTableReader::expandNameTemplate("ATTR.i.VALUE.j", indices),
              "ATTR[2].VALUE[3]");
    EXPECT_EQ(SingleTREMultiLevelTableReader::expandNameTemplate("GROUP.i.VALUE", indices),
              "GROUP[2].VALUE");
    EXPECT_EQ(SingleTREMultiLevelTableReader::expandNameTemplate("PLAIN", indices), "PLAIN");
    EXPECT_EQ(SingleTREMultiLevelTableReader::expandNameTemplate("V.i.j", indices), "V[2][3]");
}

TEST_F(TableReaders, ContextForwardsAndAnEmptyContextGivesNothing) {
    const auto path = dir_ / "context.ntf";
    writeAndOpen(path, {{flatTre({"ab", "cd"}, "L")}});
    Tessel::NITFMessages messages;
    auto context =
        Tessel::NITFFactory::get().open(Tessel::NITFURI(std::string_view(path.string())), messages);
    ASSERT_TRUE(context);
    auto reader = context.getTableReader(definition("SingleTRE", itemField, flatSource, "COUNT"));
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->GetRowCount(), 2);
    Tessel::NITFFileContext empty(Tessel::NITFURI(std::string_view(path.string())));
    EXPECT_FALSE(empty.getTableReader(definition("SingleTRE", itemField, flatSource, "COUNT")));
    Tessel::NITFFactory::get().clearCache();
}

}  // namespace
