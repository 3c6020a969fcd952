#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "support/RunTool.h"
#include "support/TestPaths.h"
#include "tessel/platform/base/lumo_codec.h"

namespace {

using tessel_test::runTool;
using Json = nlohmann::ordered_json;

const std::filesystem::path kShared = TESSEL_SHARED_DIR;

std::string quotedPath(const std::filesystem::path& path) {
    std::string out = "'";
    for (char c : path.string()) {
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return out + "'";
}

std::string trimmedRight(std::string text) {
    while (!text.empty() && text.back() == ' ') {
        text.pop_back();
    }
    return text;
}

std::string readBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<uint8_t> decoded(const Json& binary) {
    return lumo_codec::base64_decode(binary.at("base64").get<std::string>()).value();
}

// A file written for one test and removed after it.
class TempFile {
public:
    explicit TempFile(const std::string& bytes) {
        std::random_device random;
        path_ = std::filesystem::temp_directory_path() /
                ("tessel-record-" + std::to_string(random()) + ".ntf");
        std::ofstream(path_, std::ios::binary) << bytes;
    }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    ~TempFile() { std::filesystem::remove(path_); }
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

Json recordOf(const std::filesystem::path& path) {
    const auto result = runTool("record --json " + quotedPath(path));
    EXPECT_EQ(result.status, 0) << path;
    return result.status == 0 ? Json::parse(result.out) : Json();
}

class RecordOfSample : public ::testing::Test {
protected:
    void SetUp() override {
        if (!std::filesystem::exists(TESSEL_SAMPLE_FILE)) {
            GTEST_SKIP() << "no sample at " << TESSEL_SAMPLE_FILE;
        }
        record_ = recordOf(TESSEL_SAMPLE_FILE);
        ASSERT_TRUE(record_.is_object());
    }
    Json record_;
};

TEST_F(RecordOfSample, HeaderFieldsKeepEveryByte) {
    const Json& header = record_["header"];
    EXPECT_EQ(header["FHDR"], "NITF");
    EXPECT_EQ(header["FVER"], "02.10");
    EXPECT_EQ(header["FTITLE"], "TesselLib sample" + std::string(64, ' '));
    EXPECT_EQ(header["FSCLAS"], "U");
    EXPECT_EQ(header["FSCLSY"], "  ");
    EXPECT_EQ(header["FSSRDT"], std::string(8, ' '));
    EXPECT_EQ(header["NUMI"], "002");
    EXPECT_EQ(header["NUMT"], "001");
    EXPECT_EQ(header["NUMDES"], "001");
    EXPECT_EQ(header["LI001"], "0000003072");
    EXPECT_EQ(decoded(header["FBKGC"]), std::vector<uint8_t>(3, 0));
    EXPECT_FALSE(header.contains("UDHOFL")) << "no overflow field when UDHDL is 0";
}

TEST_F(RecordOfSample, ImagesWithBandsPlacementAndTres) {
    ASSERT_EQ(record_["images"].size(), 2u);
    const Json& first = record_["images"][0];
    const Json& sh = first["subheader"];
    EXPECT_EQ(sh["IID1"], "GRADIENT  ");
    EXPECT_EQ(sh["NROWS"], "00000048");
    EXPECT_EQ(sh["NCOLS"], "00000064");
    EXPECT_EQ(sh["IMODE"], "B");
    EXPECT_FALSE(sh.contains("COMRAT")) << "NC images have no COMRAT";
    ASSERT_EQ(sh["bands"].size(), 1u);
    EXPECT_EQ(sh["bands"][0]["IREPBAND"], "M ");
    EXPECT_EQ(sh["bands"][0]["NLUTS"], "0");
    EXPECT_EQ(first["data_length"], 64 * 48);
    EXPECT_EQ(first["data_offset"].get<uint64_t>(), first["subheader_offset"].get<uint64_t>() +
                                                        first["subheader_length"].get<uint64_t>());
    EXPECT_EQ(first["subheader_offset"], std::stoul(record_["header"]["HL"].get<std::string>()));
    EXPECT_EQ(record_["images"][1]["subheader_offset"].get<uint64_t>(),
              first["data_offset"].get<uint64_t>() + first["data_length"].get<uint64_t>());
    EXPECT_EQ(record_["images"][1]["subheader"]["bands"].size(), 3u);

    const Json& tres = sh["IXSHD"];
    ASSERT_EQ(tres.size(), 2u);
    EXPECT_EQ(tres[0]["tag"], "RPC00B");
    EXPECT_EQ(tres[0]["id"], "RPC00B");
    EXPECT_EQ(tres[0]["length"], 1041);
    EXPECT_EQ(tres[0]["fields"]["LINE_OFF"], "000024");
    EXPECT_EQ(tres[0]["fields"]["SAMP_OFF"], "00032");
    EXPECT_TRUE(tres[0]["fields"].contains("SAMP_DEN_COEFF[19]"));
    EXPECT_EQ(tres[0]["fields"].begin().key(), "SUCCESS") << "fields keep the TRE's order";
    EXPECT_EQ(tres[1]["tag"], "USE00A");
    EXPECT_EQ(tres[1]["fields"]["N_SEG"], "001");
}

TEST_F(RecordOfSample, TextAndDataExtensionSegments) {
    ASSERT_EQ(record_["texts"].size(), 1u);
    EXPECT_EQ(record_["texts"][0]["subheader"]["TXTFMT"], "STA");
    EXPECT_EQ(record_["texts"][0]["data_length"], 233);
    ASSERT_EQ(record_["data_extensions"].size(), 1u);
    const Json& des = record_["data_extensions"][0];
    EXPECT_EQ(trimmedRight(des["subheader"]["DESTAG"]), "XML_DATA_CONTENT");
    EXPECT_EQ(des["subheader"]["DESSHL"], "0283");
    EXPECT_EQ(des["subheader"]["DESSHF"]["tag"], "XML_DATA_CONTENT");
    EXPECT_EQ(des["subheader"]["DESSHF"]["fields"]["DESSHFT"], "XML     ");
    EXPECT_FALSE(des.contains("DESDATA")) << "only overflow segments hold TREs in their data";
    EXPECT_TRUE(record_["graphics"].empty());
    EXPECT_TRUE(record_["reserved_extensions"].empty());
}

TEST_F(RecordOfSample, TextOutputTrimsAndQuotesValues) {
    const auto result = runTool(std::string("record ") + TESSEL_SAMPLE_FILE);
    ASSERT_EQ(result.status, 0);
    EXPECT_NE(result.out.find("  FTITLE   \"TesselLib sample\"\n"), std::string::npos);
    EXPECT_NE(result.out.find("  FBKGC    <3 bytes> 00 00 00\n"), std::string::npos);
    EXPECT_NE(result.out.find("    RPC00B (layout RPC00B, 1041 bytes)\n"), std::string::npos);
    EXPECT_NE(result.out.find("      LINE_OFF            \"000024\"\n"), std::string::npos);
    EXPECT_NE(result.out.find("image 2: subheader at "), std::string::npos);
}

TEST_F(RecordOfSample, BytesAbove127AreLatin1InUtf8AndControlBytesEscaped) {
    std::string bytes = readBytes(TESSEL_SAMPLE_FILE);
    const size_t title = bytes.find("TesselLib sample");
    ASSERT_NE(title, std::string::npos);
    bytes.replace(title, 4, "\xE9t\xE9\x01");
    TempFile file(bytes);
    const auto result = runTool("record --json " + quotedPath(file.path()));
    ASSERT_EQ(result.status, 0);
    EXPECT_NE(result.out.find("\"\xC3\xA9t\xC3\xA9\\u0001elLib sample"), std::string::npos);
    const Json record = Json::parse(result.out);
    EXPECT_EQ(trimmedRight(record["header"]["FTITLE"]),
              "\xC3\xA9t\xC3\xA9\x01"
              "elLib sample");
}

TEST_F(RecordOfSample, UnknownTreIsRawData) {
    std::string bytes = readBytes(TESSEL_SAMPLE_FILE);
    const size_t tag = bytes.find("USE00A");
    ASSERT_NE(tag, std::string::npos);
    const std::string payload = bytes.substr(tag + 11, 107);
    bytes.replace(tag, 6, "ZZTEST");
    TempFile file(bytes);
    const Json record = recordOf(file.path());
    const Json& tre = record["images"][0]["subheader"]["IXSHD"][1];
    EXPECT_EQ(tre["tag"], "ZZTEST");
    EXPECT_EQ(tre["id"], "raw_data");
    ASSERT_EQ(tre["fields"].size(), 1u);
    const auto raw = decoded(tre["fields"]["raw_data"]);
    EXPECT_EQ(std::string(raw.begin(), raw.end()), payload);
}

TEST(RecordCommand, FileThatDoesNotParseFailsWithTheReason) {
    TempFile junk("This is not a NITF file at all.");
    const auto result = runTool("record " + quotedPath(junk.path()) + " 2>&1 >/dev/null");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("tessel record: "), std::string::npos);
    EXPECT_NE(result.out.find("is not NITF 2.00, NITF 2.10 or NSIF 1.00"), std::string::npos);
    EXPECT_EQ(runTool("record /no/such/file.ntf 2>/dev/null").status, 1);
    EXPECT_EQ(runTool("record 2>/dev/null").status, 1);
}

TEST(RecordCommand, HasHelp) {
    const auto result = runTool("record --help");
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.out.find("usage: tessel record FILE [--json]"), std::string::npos);
}

// --- the shared corpus and fixtures --------------------------------------------------------

std::vector<std::filesystem::path> sharedFiles() {
    std::vector<std::filesystem::path> files;
    std::ifstream manifest(kShared / "corpus" / "MANIFEST.tsv");
    std::string line;
    std::getline(manifest, line);  // column names
    while (std::getline(manifest, line)) {
        files.push_back(kShared / "corpus" / line.substr(0, line.find('\t')));
    }
    for (const auto& entry : std::filesystem::directory_iterator(kShared / "fixtures")) {
        if (entry.path().extension() == ".ntf") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

// GDAL writes levels as numbers and FHDR with FVER; the rest as the file has it.
void expectSameAsGdal(const std::string& name, const std::string& gdal, const Json& header,
                      const Json& subheader, int* compared) {
    if (name == "FHDR") {
        EXPECT_EQ(gdal, header["FHDR"].get<std::string>() + header["FVER"].get<std::string>());
        ++*compared;
        return;
    }
    const std::string field = name == "ITITLE" ? "IID2" : name;  // NITF 2.0's name of IID2
    const Json* source = header.contains(field)      ? &header
                         : subheader.contains(field) ? &subheader
                                                     : nullptr;
    if (source == nullptr) {
        return;  // GDAL's own keys (ILOC_ROW, CCS_COLUMN, TRE fields)
    }
    const Json& ours = (*source)[field];
    if (field == "FBKGC") {
        const auto rgb = decoded(ours);
        ASSERT_EQ(rgb.size(), 3u);
        char text[16];
        std::snprintf(text, sizeof text, "%3d,%3d,%3d", rgb[0], rgb[1], rgb[2]);
        EXPECT_EQ(gdal, text);
    } else if (field == "IDLVL" || field == "IALVL") {
        EXPECT_EQ(std::stoi(gdal), std::stoi(ours.get<std::string>())) << field;
    } else {
        EXPECT_EQ(trimmedRight(gdal), trimmedRight(ours.get<std::string>())) << field;
    }
    ++*compared;
}

void compareWithSidecar(const std::filesystem::path& sidecar, const Json& record, int* compared) {
    const Json meta = Json::parse(std::ifstream(sidecar));
    const Json& images = meta["images"];
    ASSERT_EQ(record["images"].size(), images.size());
    for (size_t i = 0; i < images.size(); ++i) {
        const Json& sh = record["images"][i]["subheader"];
        EXPECT_EQ(images[i]["size"][0].get<int>(), std::stoi(sh["NCOLS"].get<std::string>()));
        EXPECT_EQ(images[i]["size"][1].get<int>(), std::stoi(sh["NROWS"].get<std::string>()));
        EXPECT_EQ(images[i]["band_count"].get<size_t>(), sh["bands"].size());
        const Json& metadata = images[i]["metadata"];
        if (!metadata.is_object() || !metadata.contains("default")) {
            continue;
        }
        for (const auto& item : metadata["default"].items()) {
            if (item.key().rfind("NITF_", 0) == 0 && item.value().is_string()) {
                expectSameAsGdal(item.key().substr(5), item.value().get<std::string>(),
                                 record["header"], sh, compared);
            }
        }
    }
}

// One test walks every shared file, so that the suite stays fast.
TEST(RecordCommand, EverySharedFileGivesJsonOrAMessage) {
    if (!std::filesystem::exists(kShared / "corpus" / "MANIFEST.tsv") ||
        !std::filesystem::exists(kShared / "fixtures")) {
        GTEST_SKIP() << "no shared corpus and fixtures under " << kShared;
    }
    int read = 0;
    int refused = 0;
    int compared = 0;
    for (const auto& path : sharedFiles()) {
        SCOPED_TRACE(path.string());
        const auto result = runTool("record --json " + quotedPath(path) + " 2>/dev/null");
        ASSERT_TRUE(result.status == 0 || result.status == 1) << "status " << result.status;
        if (result.status == 1) {
            ++refused;
            continue;
        }
        ++read;
        const Json record = Json::parse(result.out, nullptr, false);
        ASSERT_FALSE(record.is_discarded()) << "not JSON";
        EXPECT_EQ(record["images"].size(), std::stoul(record["header"]["NUMI"].get<std::string>()));
        std::filesystem::path sidecar = path;
        sidecar.replace_extension(".json");
        if (path.parent_path() == kShared / "fixtures" && std::filesystem::exists(sidecar)) {
            compareWithSidecar(sidecar, record, &compared);
        }
    }
    EXPECT_GT(read, 200);
    EXPECT_GT(refused, 0);
    EXPECT_GT(compared, 1000);
}

}  // namespace
