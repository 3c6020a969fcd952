// Every corpus TRE with repeating groups that the record layer describes, read as a table:
// the cells equal the values that the metadata paths give for the same fields.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/TestPaths.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/platform/base/text.h"
#include "tessel/tables/TableReader.h"

namespace {

namespace fs = std::filesystem;

struct TreTableLayout {
    std::string tag;
    std::string type;  // "SingleTRE" or "SingleTRENested"
    // The count field, or for nested tables the outer and inner count fields.
    std::string outerCount;
    std::string innerCount;
    std::vector<std::string> outerColumns;  // indexed by the outer level only
    std::vector<std::string> innerColumns;  // indexed by both levels
};

const std::vector<TreTableLayout>& treTableLayouts() {
    static const std::vector<TreTableLayout> layouts{
        {"J2KLRA", "SingleTRE", "NLAYERS_O", "", {"LAYER_ID", "BITRATE"}, {}},
        {"ENGRDA", "SingleTRE", "RECNT", "", {"ENGLBL", "ENGMTXC", "ENGMTXR", "ENGDATC"}, {}},
        {"HISTOA", "SingleTRE", "NEVENTS", "", {"PDATE", "PSITE", "PAS", "NIPCOM", "OBPP"}, {}},
        {"HISTOA", "SingleTRENested", "NEVENTS", "NIPCOM", {"PDATE"}, {"IPCOM"}},
        {"SENSRB",
         "SingleTRENested",
         "TIME_STAMPED_DATA_SETS",
         "TIME_STAMP_COUNT",
         {"TIME_STAMP_TYPE"},
         {"TIME_STAMP_TIME", "TIME_STAMP_VALUE"}},
        {"SENSRB",
         "SingleTRENested",
         "PIXEL_REFERENCED_DATA_SETS",
         "PIXEL_REFERENCE_COUNT",
         {"PIXEL_REFERENCE_TYPE"},
         {"PIXEL_REFERENCE_ROW", "PIXEL_REFERENCE_COLUMN"}},
        {"SENSRB",
         "SingleTRENested",
         "POINT_SET_DATA",
         "POINT_COUNT",
         {"POINT_SET_TYPE"},
         {"P_ROW", "P_COLUMN"}},
    };
    return layouts;
}

// Corpus files whose manifest lists the tag among the image TREs.
std::vector<fs::path> corpusFilesWithTre(const std::string& tag) {
    const fs::path corpus = fs::path(TESSEL_SHARED_DIR) / "corpus";
    std::ifstream manifest(corpus / "MANIFEST.tsv");
    std::vector<fs::path> files;
    std::string line;
    std::getline(manifest, line);
    while (std::getline(manifest, line)) {
        std::vector<std::string> columns;
        std::stringstream split(line);
        for (std::string column; std::getline(split, column, '\t');) {
            columns.push_back(column);
        }
        if (columns.size() > 11 && columns[11].find(tag) != std::string::npos &&
            columns[6].rfind("NITF", 0) == 0 && fs::exists(corpus / columns[0])) {
            files.push_back(corpus / columns[0]);
        }
    }
    return files;
}

std::string trimmed(std::string text) {
    const size_t first = text.find_first_not_of(' ');
    const size_t last = text.find_last_not_of(' ');
    return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
}

std::string cellText(const any_type::value& value) {
    if (const auto* text = std::get_if<std::wstring>(&value)) {
        return std::to_string(*text);
    }
    if (const auto* text = std::get_if<std::string>(&value)) {
        return *text;
    }
    return "<empty>";
}

Tessel::TableArguments definitionOf(const TreTableLayout& layout, int image) {
    std::string fields = "[";
    for (const auto& column : layout.outerColumns) {
        fields += std::string(fields.size() > 1 ? "," : "") + "{\"name\":\"" + column +
                  (layout.innerCount.empty() ? "" : ".i") + "\",\"type\":\"string\"}";
    }
    for (const auto& column : layout.innerColumns) {
        fields += std::string(fields.size() > 1 ? "," : "") + "{\"name\":\"" + column +
                  ".i.j\",\"type\":\"string\"}";
    }
    fields += "]";
    const std::string sources = "[{\"name\":\"" + layout.tag +
                                "\",\"segment\":\"Images\",\"index\":" + std::to_string(image) +
                                "}]";
    const std::string rows = layout.innerCount.empty()
                                 ? layout.outerCount
                                 : "i=" + layout.outerCount + ",j=" + layout.innerCount + ".i";
    return {{L"TableType", std::to_wstring(layout.type)},
            {L"Fields", fields},
            {L"Sources", sources},
            {L"RowCountField", rows}};
}

TEST(TableCorpus, RepeatingGroupCellsEqualTheirMetadataPaths) {
    if (!fs::exists(fs::path(TESSEL_SHARED_DIR) / "corpus" / "MANIFEST.tsv")) {
        GTEST_SKIP() << "no shared corpus";
    }
    size_t tables = 0;
    size_t cells = 0;
    for (const TreTableLayout& layout : treTableLayouts()) {
        for (const fs::path& path : corpusFilesWithTre(layout.tag)) {
            SCOPED_TRACE(path.string() + " " + layout.tag + " " + layout.type);
            Tessel::NITFMessages messages;
            auto context = Tessel::NITFFactory::get().open(
                Tessel::NITFURI(std::string_view(path.string())), messages);
            ASSERT_TRUE(context);
            const Tessel::NITFFile& file = context.getFile();
            for (int image = 0; image < static_cast<int>(context.getNumberImages()); ++image) {
                const std::string base = "/Images/" + std::to_string(image) + "/TREs/" + layout.tag;
                const std::string whole = file.getPathString(image, base + "?JSON", "");
                if (whole.empty()) {
                    continue;
                }
                // A TRE that comes twice is an array of them: the table reads the first.
                const std::string prefix = whole.front() == '[' ? base + "/0" : base;
                auto reader = context.getTableReader(definitionOf(layout, image));
                ASSERT_TRUE(reader);
                const int64_t outer = file.getPathInt(image, prefix + "/" + layout.outerCount, 0);
                int row = 0;
                for (int64_t i = 0; i < outer; ++i) {
                    const std::string at = "/" + std::to_string(i);
                    const int64_t inner =
                        layout.innerCount.empty()
                            ? 1
                            : file.getPathInt(image, prefix + "/" + layout.innerCount + at, 0);
                    for (int64_t j = 0; j < inner; ++j, ++row) {
                        ASSERT_LT(row, reader->GetRowCount());
                        int column = 0;
                        for (const auto& name : layout.outerColumns) {
                            EXPECT_EQ(trimmed(cellText(reader->GetValue(row, column++))),
                                      file.getPathString(image, prefix + "/" + name + at, ""))
                                << name << " row " << row;
                            ++cells;
                        }
                        for (const auto& name : layout.innerColumns) {
                            const std::string inside = at + "/" + std::to_string(j);
                            EXPECT_EQ(trimmed(cellText(reader->GetValue(row, column++))),
                                      file.getPathString(image, prefix + "/" + name + inside, ""))
                                << name << " row " << row;
                            ++cells;
                        }
                    }
                }
                EXPECT_EQ(reader->GetRowCount(), row);
                ++tables;
            }
        }
    }
    std::printf("%zu tables, %zu cells compared\n", tables, cells);
    EXPECT_GT(tables, 10U);
    EXPECT_GT(cells, 100U);
    Tessel::NITFFactory::get().clearCache();
}

// A binary field's cell: its big-endian bytes, trimmed of blanks at both ends, taken as
// UTF-8 text as every cell is.
std::wstring binaryCell(uint64_t value, size_t width) {
    std::string bytes(width, '\0');
    for (size_t i = 0; i < width; ++i) {
        bytes[width - 1 - i] = static_cast<char>((value >> (8 * i)) & 0xFF);
    }
    const std::string_view blanks(" \t\r\n\v\0", 6);
    const size_t first = bytes.find_first_not_of(blanks);
    const size_t last = bytes.find_last_not_of(blanks);
    return std::to_wstring(first == std::string::npos ? std::string()
                                                      : bytes.substr(first, last - first + 1));
}

TEST(TableCorpus, RpfLocationRecordsAreOneRowEachWithTheirBinaryFields) {
    if (!fs::exists(fs::path(TESSEL_SHARED_DIR) / "corpus" / "MANIFEST.tsv")) {
        GTEST_SKIP() << "no shared corpus";
    }
    const Tessel::TableArguments definition{
        {L"TableType", std::wstring(L"SingleTRE")},
        {L"Fields", std::string(R"([{"name":"LOCID.uint","type":"integer"},
            {"name":"LOCSZ.uint","type":"integer"},{"name":"LOCOFF.uint","type":"integer"}])")},
        {L"Sources", std::string(R"([{"name":"RPFIMG","segment":"Images","index":0}])")},
        {L"RowCountField", std::string("SECRECS.uint")}};
    const std::vector<std::pair<std::string, size_t>> columns{
        {"LOCID", 2}, {"LOCSZ", 4}, {"LOCOFF", 4}};
    size_t tables = 0;
    size_t cells = 0;
    for (const fs::path& path : corpusFilesWithTre("RPFIMG")) {
        SCOPED_TRACE(path.string());
        Tessel::NITFMessages messages;
        auto context = Tessel::NITFFactory::get().open(
            Tessel::NITFURI(std::string_view(path.string())), messages);
        if (!context || context.getNumberImages() == 0) {
            continue;
        }
        const Tessel::NITFFile& file = context.getFile();
        const std::string base = "/Images/0/TREs/RPFIMG";
        if (file.getPathString(0, base + "?JSON", "").empty()) {
            continue;
        }
        auto reader = context.getTableReader(definition);
        ASSERT_TRUE(reader);
        const int64_t records = file.getPathInt(0, base + "/SECRECS", -1);
        ASSERT_EQ(reader->GetRowCount(), records);
        for (int row = 0; row < reader->GetRowCount(); ++row) {
            for (size_t c = 0; c < columns.size(); ++c) {
                const auto& [name, width] = columns[c];
                const int64_t value =
                    file.getPathInt(0, base + "/" + name + "/" + std::to_string(row), -1);
                ASSERT_GE(value, 0) << name << " row " << row;
                const any_type::value cell = reader->GetValue(row, static_cast<int>(c));
                ASSERT_EQ(cell.index(), any_type::tag_wstring);
                EXPECT_EQ(std::get<std::wstring>(cell),
                          binaryCell(static_cast<uint64_t>(value), width))
                    << name << " row " << row;
                ++cells;
            }
        }
        ++tables;
    }
    std::printf("%zu RPFIMG tables, %zu cells compared\n", tables, cells);
    EXPECT_GT(tables, 5U);
    Tessel::NITFFactory::get().clearCache();
}

}  // namespace
