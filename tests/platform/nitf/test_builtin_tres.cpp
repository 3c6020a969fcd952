// The built-in TRE and DES subheader tables, checked against extensions taken from real files
// (values as GDAL reports them) and against synthetic ones built field by field.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "platform/nitf/tres/BuiltinTREs.h"
#include "support/TestPaths.h"
#include "tessel/platform/nitf.h"

namespace {

// ---- input --------------------------------------------------------------------------------

std::string sharedDir() {
    const char* fromEnvironment = std::getenv("TESSEL_SHARED_DIR");
    return fromEnvironment != nullptr ? fromEnvironment : TESSEL_SHARED_DIR;
}

std::optional<std::string> readSharedFile(const std::string& relative) {
    std::ifstream in(sharedDir() + "/" + relative, std::ios::binary);
    if (!in) {
        return std::nullopt;
    }
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

bool isDigits(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// The data of the occurrence-th extension tagged tag: found as the tag, blank-padded to six
// characters, followed by a five-digit length.
std::optional<std::string> findTRE(const std::string& file, const std::string& tag,
                                   int occurrence = 0) {
    std::string key = tag;
    key.resize(6, ' ');
    for (size_t at = file.find(key); at != std::string::npos; at = file.find(key, at + 1)) {
        const std::string digits = file.substr(at + 6, 5);
        if (!isDigits(digits)) {
            continue;
        }
        const size_t length = std::stoul(digits);
        if (at + 11 + length > file.size()) {
            continue;
        }
        if (occurrence-- == 0) {
            return file.substr(at + 11, length);
        }
    }
    return std::nullopt;
}

// The user-defined subheader of the first data extension whose DESTAG is destag (NITF 2.1
// layout: DE, DESTAG, DESVER, DESCLAS, the 166 bytes of security, the overflow fields of
// TRE_OVERFLOW, DESSHL).
std::optional<std::string> findDESSubheader(const std::string& file, const std::string& destag) {
    std::string key = "DE" + destag;
    key.resize(27, ' ');
    const size_t at = file.find(key);
    if (at == std::string::npos) {
        return std::nullopt;
    }
    size_t lengthAt = at + 27 + 2 + 1 + 166;
    if (destag == "TRE_OVERFLOW") {
        lengthAt += 9;
    }
    const std::string digits = file.substr(lengthAt, 4);
    if (!isDigits(digits)) {
        return std::nullopt;
    }
    return file.substr(lengthAt + 4, std::stoul(digits));
}

// ---- a parsed extension -----------------------------------------------------------------

class ParsedTRE {
public:
    ParsedTRE(const char* tag, std::string bytes) : bytes_(std::move(bytes)) {
        tre_ = nitf_TRE_createSkeleton(tag, &error_);
        if (tre_ == nullptr) {
            return;
        }
        // As a reader does: the handler the registry gives for the tag.
        int hadError = 0;
        tre_->handler = nitf_PluginRegistry_retrieveTREHandler(
            nitf_PluginRegistry_getInstance(&error_), tag, &hadError, &error_);
        if (tre_->handler == nullptr) {
            return;
        }
        nitf_IOInterface* io =
            nrt_BufferAdapter_construct(bytes_.data(), bytes_.size(), false, &error_);
        if (io == nullptr) {
            return;
        }
        // A layout that doesn't fit leaves the TRE raw.
        parsed_ =
            tre_->handler->read(io, static_cast<uint32_t>(bytes_.size()), tre_, nullptr, &error_) &&
            std::strcmp(nitf_TRE_getID(tre_), NITF_TRE_RAW) != 0;
        nrt_IOInterface_destruct(&io);
    }
    ~ParsedTRE() { nitf_TRE_destruct(&tre_); }
    ParsedTRE(const ParsedTRE&) = delete;
    ParsedTRE& operator=(const ParsedTRE&) = delete;

    bool parsed() const { return parsed_; }
    const char* message() const { return error_.message; }
    nitf_TRE* tre() const { return tre_; }
    std::string id() const { return nitf_TRE_getID(tre_); }

    bool has(const std::string& name) const {
        return nitf_TRE_getField(tre_, name.c_str()) != nullptr;
    }
    // The field's bytes as stored (binary fields in host order).
    std::string raw(const std::string& name) const {
        nitf_Field* field = nitf_TRE_getField(tre_, name.c_str());
        return field == nullptr ? std::string("<missing>") : std::string(field->raw, field->length);
    }
    std::string trimmed(const std::string& name) const {
        std::string text = raw(name);
        text.erase(text.find_last_not_of(' ') + 1);
        return text;
    }
    uint64_t unsignedValue(const std::string& name) const {
        nitf_Field* field = nitf_TRE_getField(tre_, name.c_str());
        uint64_t value = 0;
        nitf_Error error{};
        EXPECT_NE(field, nullptr) << name;
        if (field != nullptr) {
            EXPECT_TRUE(nitf_Field_get(field, &value, NITF_CONV_UINT, sizeof value, &error))
                << name << ": " << error.message;
        }
        return value;
    }
    int currentSize() const {
        nitf_Error error{};
        return nitf_TRE_getCurrentSize(tre_, &error);
    }
    std::string written() const {
        nitf_Error error{};
        uint32_t length = 0;
        char* data = nitf_TREUtils_getRawData(tre_, &length, &error);
        std::string result = data == nullptr ? std::string() : std::string(data, length);
        std::free(data);
        return result;
    }
    const std::string& bytes() const { return bytes_; }

private:
    std::string bytes_;
    nitf_Error error_{};
    nitf_TRE* tre_ = nullptr;
    bool parsed_ = false;
};

// Every table must use up exactly the bytes it parsed and write them back unchanged.
void expectExactRoundTrip(const ParsedTRE& parsed) {
    ASSERT_TRUE(parsed.parsed()) << parsed.message();
    EXPECT_EQ(parsed.currentSize(), static_cast<int>(parsed.bytes().size()));
    EXPECT_EQ(parsed.written(), parsed.bytes());
}

// ---- GDAL's view of the same extension --------------------------------------------------

std::string decodeEntities(std::string text) {
    static const std::pair<const char*, const char*> entities[] = {
        {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&apos;", "'"}, {"&amp;", "&"}};
    for (const auto& [entity, plain] : entities) {
        for (size_t at = text.find(entity); at != std::string::npos;
             at = text.find(entity, at + 1)) {
            text.replace(at, std::strlen(entity), plain);
        }
    }
    return text;
}

void collectXmlTRE(const nlohmann::json& node, std::string& out) {
    if (node.is_object()) {
        for (const auto& [key, value] : node.items()) {
            if (key == "xml:TRE" && value.is_array()) {
                for (const auto& part : value) {
                    if (part.is_string()) {
                        out += part.get<std::string>();
                    }
                }
            } else {
                collectXmlTRE(value, out);
            }
        }
    } else if (node.is_array()) {
        for (const auto& item : node) {
            collectXmlTRE(item, out);
        }
    }
}

// The fields GDAL shows for the first extension tagged tag in a fixture's sidecar, named as
// the tables name them: a field inside repeated groups gets one "[index]" per group.
std::map<std::string, std::string> gdalFields(const std::string& sidecar, const std::string& tag) {
    std::map<std::string, std::string> fields;
    const auto text = readSharedFile("fixtures/" + sidecar);
    if (!text) {
        return fields;
    }
    std::string xml;
    collectXmlTRE(nlohmann::json::parse(*text), xml);
    const size_t begin = xml.find("<tre name=\"" + tag + "\"");
    if (begin == std::string::npos) {
        return fields;
    }
    const size_t end = xml.find("</tre>", begin);
    const std::regex token(
        R"re(<group index="(\d+)"|</group>|<field name="([^"]*)" value="([^"]*)")re");
    std::vector<std::string> groups;
    const std::string body = xml.substr(begin, end - begin);
    for (std::sregex_iterator it(body.begin(), body.end(), token), last; it != last; ++it) {
        const std::smatch& match = *it;
        if (match[1].matched) {
            groups.push_back("[" + match[1].str() + "]");
        } else if (match[2].matched) {
            std::string name = match[2].str();
            for (const std::string& index : groups) {
                name += index;
            }
            fields[name] = decodeEntities(match[3].str());
        } else if (!groups.empty()) {
            groups.pop_back();
        }
    }
    return fields;
}

// Compares every field GDAL shows that the table names the same way; returns how many.
int expectAgreesWithGdal(const ParsedTRE& parsed, const std::map<std::string, std::string>& gdal) {
    int compared = 0;
    for (const auto& [name, value] : gdal) {
        if (parsed.has(name)) {
            EXPECT_EQ(parsed.trimmed(name), value) << name;
            ++compared;
        }
    }
    return compared;
}

// ---- synthetic data ----------------------------------------------------------------------

// Text left-aligned in width, blank-padded.
std::string text(const std::string& value, size_t width) {
    std::string result = value.substr(0, width);
    result.resize(width, ' ');
    return result;
}

// A number right-aligned in width, zero-padded.
std::string number(long value, size_t width) {
    std::string digits = std::to_string(value);
    return std::string(width > digits.size() ? width - digits.size() : 0, '0') + digits;
}

struct FieldLayout {
    std::string name;
    size_t width;
};

// Bytes for a flat layout, each field holding its (1-based) position as digits, and checks
// that parsing gives each field back at its place.
std::string flatBytes(const std::vector<FieldLayout>& layout) {
    std::string bytes;
    long position = 1;
    for (const FieldLayout& field : layout) {
        long modulus = 1;
        for (size_t i = 0; i < field.width && modulus < 1000000000L; ++i) {
            modulus *= 10;
        }
        bytes += number(position++ % modulus, field.width);
    }
    return bytes;
}

void expectFlatFields(const ParsedTRE& parsed, const std::vector<FieldLayout>& layout) {
    size_t offset = 0;
    for (const FieldLayout& field : layout) {
        EXPECT_EQ(parsed.raw(field.name), parsed.bytes().substr(offset, field.width)) << field.name;
        offset += field.width;
    }
    EXPECT_EQ(offset, parsed.bytes().size());
}

#define SKIP_WITHOUT(optionalBytes, what)                               \
    if (!(optionalBytes)) {                                             \
        GTEST_SKIP() << what << " not available under " << sharedDir(); \
    }

// ---- registration ------------------------------------------------------------------------

TEST(BuiltinTREs, EveryTableIsRegisteredUnderItsName) {
    size_t count = 0;
    const tessel::tres::NamedSet* sets = tessel::tres::builtinSets(&count);
    ASSERT_EQ(count, 31u);
    nitf_Error error{};
    nitf_PluginRegistry* registry = nitf_PluginRegistry_getInstance(&error);
    ASSERT_NE(registry, nullptr);
    for (size_t i = 0; i < count; ++i) {
        int hadError = 0;
        nitf_TREHandler* handler =
            nitf_PluginRegistry_retrieveTREHandler(registry, sets[i].name, &hadError, &error);
        ASSERT_NE(handler, nullptr) << sets[i].name;
        EXPECT_EQ(handler->data, static_cast<NITF_DATA*>(sets[i].set)) << sets[i].name;
    }
}

TEST(BuiltinTREs, EveryLayoutCanBeConstructedByName) {
    size_t count = 0;
    const tessel::tres::NamedSet* sets = tessel::tres::builtinSets(&count);
    for (size_t i = 0; i < count; ++i) {
        for (const nitf_TREDescriptionInfo* info = sets[i].set->descriptions; info->name; ++info) {
            nitf_Error error{};
            nitf_TRE* tre = nitf_TRE_construct(sets[i].name, info->name, &error);
            ASSERT_NE(tre, nullptr) << info->name << ": " << error.message;
            EXPECT_STREQ(nitf_TRE_getID(tre), info->name);
            if (info->lengthMatch != NITF_TRE_DESC_NO_LENGTH) {
                EXPECT_EQ(nitf_TRE_getCurrentSize(tre, &error), info->lengthMatch) << info->name;
            }
            nitf_TRE_destruct(&tre);
        }
    }
}

TEST(BuiltinTREs, FixedLengthDataWithAByteTooManyIsRejected) {
    ParsedTRE parsed("BLOCKA", std::string(124, '0'));
    EXPECT_FALSE(parsed.parsed());
}

// ---- real extensions ---------------------------------------------------------------------

TEST(BuiltinTREs, RPC00BFromFixtureMatchesGdal) {
    const auto file = readSharedFile("fixtures/tre_rpc00b.ntf");
    SKIP_WITHOUT(file, "tre_rpc00b.ntf");
    const auto bytes = findTRE(*file, "RPC00B");
    ASSERT_TRUE(bytes);
    ParsedTRE parsed("RPC00B", *bytes);
    expectExactRoundTrip(parsed);
    EXPECT_GE(expectAgreesWithGdal(parsed, gdalFields("tre_rpc00b.json", "RPC00B")), 90);
    EXPECT_TRUE(parsed.has("SAMP_DEN_COEFF[19]"));
    EXPECT_FALSE(parsed.has("SAMP_DEN_COEFF[20]"));
}

TEST(BuiltinTREs, RPC00BFromGeoCal) {
    const auto file = readSharedFile("corpus/geocal/rpc.ntf");
    SKIP_WITHOUT(file, "geocal/rpc.ntf");
    const auto bytes = findTRE(*file, "RPC00B");
    ASSERT_TRUE(bytes);
    ParsedTRE parsed("RPC00B", *bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.raw("SUCCESS"), bytes->substr(0, 1));
    EXPECT_EQ(parsed.raw("LAT_OFF"), bytes->substr(1 + 7 + 7 + 6 + 5, 8));
    EXPECT_EQ(parsed.raw("LINE_NUM_COEFF[0]"), bytes->substr(81, 12));
    EXPECT_EQ(parsed.raw("SAMP_DEN_COEFF[19]"), bytes->substr(1041 - 12, 12));
}

TEST(BuiltinTREs, BLOCKAFromFixtureMatchesGdal) {
    const auto file = readSharedFile("fixtures/tre_blocka.ntf");
    SKIP_WITHOUT(file, "tre_blocka.ntf");
    const auto bytes = findTRE(*file, "BLOCKA");
    ASSERT_TRUE(bytes);
    ParsedTRE parsed("BLOCKA", *bytes);
    expectExactRoundTrip(parsed);
    EXPECT_GE(expectAgreesWithGdal(parsed, gdalFields("tre_blocka.json", "BLOCKA")), 9);
    EXPECT_EQ(parsed.raw("RESERVED-002"), bytes->substr(118, 5));
}

TEST(BuiltinTREs, ICHIPBAndCSCRNAFromFixtureMatchGdal) {
    const auto file = readSharedFile("fixtures/tre_ichipb_cscrna.ntf");
    SKIP_WITHOUT(file, "tre_ichipb_cscrna.ntf");
    for (const char* tag : {"ICHIPB", "CSCRNA"}) {
        const auto bytes = findTRE(*file, tag);
        ASSERT_TRUE(bytes) << tag;
        ParsedTRE parsed(tag, *bytes);
        expectExactRoundTrip(parsed);
        EXPECT_GE(expectAgreesWithGdal(parsed, gdalFields("tre_ichipb_cscrna.json", tag)), 13)
            << tag;
    }
}

TEST(BuiltinTREs, GEOLOBAndGEOPSBFromFixtureMatchGdal) {
    const auto file = readSharedFile("fixtures/tre_sde_geolob.ntf");
    SKIP_WITHOUT(file, "tre_sde_geolob.ntf");
    for (const char* tag : {"GEOLOB", "GEOPSB"}) {
        const auto bytes = findTRE(*file, tag);
        ASSERT_TRUE(bytes) << tag;
        ParsedTRE parsed(tag, *bytes);
        expectExactRoundTrip(parsed);
        EXPECT_GE(expectAgreesWithGdal(parsed, gdalFields("tre_sde_geolob.json", tag)), 4) << tag;
    }
}

TEST(BuiltinTREs, AutzenExtensions) {
    const auto file = readSharedFile("corpus/codice/autzen-utm10.ntf");
    SKIP_WITHOUT(file, "codice/autzen-utm10.ntf");
    const auto geolob = findTRE(*file, "GEOLOB");
    const auto geopsb = findTRE(*file, "GEOPSB");
    const auto histoa = findTRE(*file, "HISTOA");
    const auto acftb = findTRE(*file, "ACFTB");
    const auto aimidb = findTRE(*file, "AIMIDB");
    ASSERT_TRUE(geolob && geopsb && histoa && acftb && aimidb);

    ParsedTRE geo("GEOLOB", *geolob);
    expectExactRoundTrip(geo);
    EXPECT_EQ(geo.raw("ARV"), "022060370");
    EXPECT_EQ(geo.raw("LSO"), "-123.0749837910");
    EXPECT_EQ(geo.raw("PSO"), "+044.0622542218");

    ParsedTRE system("GEOPSB", *geopsb);
    expectExactRoundTrip(system);
    EXPECT_EQ(system.trimmed("DAG"), "World Geodetic System 1984");
    EXPECT_EQ(system.raw("DCD"), "WGE ");
    EXPECT_EQ(system.raw("ZNA"), "0000");

    ParsedTRE history("HISTOA", *histoa);
    expectExactRoundTrip(history);
    EXPECT_EQ(history.raw("NEVENTS"), "01");
    EXPECT_EQ(history.raw("PDATE[0]"), "20120323002946");
    EXPECT_EQ(history.trimmed("PAS[0]"), "ENVI4.7SP1");
    EXPECT_EQ(history.raw("OUTBWC[0]"), "NONE000000");
    EXPECT_FALSE(history.has("ROT_ANGLE[0]"));

    ParsedTRE aircraft("ACFTB", *acftb);
    expectExactRoundTrip(aircraft);
    EXPECT_EQ(aircraft.raw("FOCAL_LENGTH"), "000.00");
    EXPECT_EQ(aircraft.raw("MTI_TOT"), "000");

    ParsedTRE ident("AIMIDB", *aimidb);
    expectExactRoundTrip(ident);
    EXPECT_EQ(ident.raw("ACQUISITION_DATE"), "20100101010101");
    EXPECT_EQ(ident.raw("END_TILE_ROW"), "00002");
    EXPECT_EQ(ident.raw("COUNTRY"), "US");
}

TEST(BuiltinTREs, HISTOAWithFourEvents) {
    const auto file = readSharedFile("corpus/codice/gdal3453.ntf");
    SKIP_WITHOUT(file, "codice/gdal3453.ntf");
    const auto bytes = findTRE(*file, "HISTOA");
    ASSERT_TRUE(bytes);
    ParsedTRE parsed("HISTOA", *bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.raw("PC"), "UNKC00000000");
    EXPECT_EQ(parsed.raw("NEVENTS"), "04");
    EXPECT_EQ(parsed.raw("PDATE[1]"), "20091125175717");
    EXPECT_EQ(parsed.raw("OBPP[1]"), "01");
    EXPECT_EQ(parsed.raw("IBPP[2]"), "01");
    EXPECT_TRUE(parsed.has("OUTBWC[3]"));
}

TEST(BuiltinTREs, USE00AFromGeoCal) {
    const auto file = readSharedFile("corpus/geocal/test_use00a.ntf");
    SKIP_WITHOUT(file, "geocal/test_use00a.ntf");
    const auto bytes = findTRE(*file, "USE00A");
    ASSERT_TRUE(bytes);
    ParsedTRE parsed("USE00A", *bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.raw("ANGLE_TO_NORTH"), "270");
    EXPECT_EQ(parsed.raw("MEAN_GSD"), "105.2");
    EXPECT_EQ(parsed.raw("ROLL_ANG"), "-21.15");
    EXPECT_EQ(parsed.raw("MAX_LP_SEG"), "006287");
    EXPECT_EQ(parsed.raw("SUN_EL"), "+68.5");
    EXPECT_EQ(parsed.raw("SUN_AZ"), "131.3");
}

TEST(BuiltinTREs, CSDIDAAndBLOCKAFromGdalSample) {
    const auto file = readSharedFile("corpus/gdal/nitf/valid_udid.ntf");
    SKIP_WITHOUT(file, "gdal/nitf/valid_udid.ntf");
    const auto csdida = findTRE(*file, "CSDIDA");
    const auto blocka = findTRE(*file, "BLOCKA");
    ASSERT_TRUE(csdida && blocka);
    ParsedTRE dataset("CSDIDA", *csdida);
    expectExactRoundTrip(dataset);
    EXPECT_EQ(dataset.raw("MONTH"), "MAY");
    EXPECT_EQ(dataset.raw("YEAR"), "2019");
    EXPECT_EQ(dataset.raw("TIME"), "12345.12345678");
    EXPECT_EQ(dataset.raw("SOFTWARE_VERSION_NUMBER"), "0000000000");
    ParsedTRE block("BLOCKA", *blocka);
    expectExactRoundTrip(block);
    EXPECT_EQ(block.raw("L_LINES"), "01000");
    EXPECT_EQ(block.raw("FRLC_LOC"), "+41.319331+020.078400");
    EXPECT_EQ(block.raw("FRFC_LOC"), "+41.283881+020.074924");
}

TEST(BuiltinTREs, J2KLRAFromJpeg2000Files) {
    const auto ecrg = readSharedFile("corpus/codice/ECRG/000000009t0013.lf2");
    SKIP_WITHOUT(ecrg, "codice/ECRG/000000009t0013.lf2");
    const auto bytes = findTRE(*ecrg, "J2KLRA");
    ASSERT_TRUE(bytes);
    ParsedTRE parsed("J2KLRA", *bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.raw("ORIG"), "8");
    EXPECT_EQ(parsed.raw("NLAYERS_O"), "005");
    EXPECT_EQ(parsed.raw("LAYER_ID[4]"), "004");
    EXPECT_EQ(parsed.raw("BITRATE[1]"), "00.062500");
    EXPECT_FALSE(parsed.has("NLEVELS_I"));

    const auto jitc = readSharedFile("corpus/codice/JitcJpeg2000/053_512x512_s_8_3_ycbcr_j2c.ntf");
    SKIP_WITHOUT(jitc, "codice/JitcJpeg2000/053_512x512_s_8_3_ycbcr_j2c.ntf");
    const auto layered = findTRE(*jitc, "J2KLRA");
    ASSERT_TRUE(layered);
    ParsedTRE many("J2KLRA", *layered);
    expectExactRoundTrip(many);
    EXPECT_EQ(many.raw("NLAYERS_O"), "019");
    EXPECT_EQ(many.raw("BITRATE[0]"), "00.024261");
    EXPECT_TRUE(many.has("LAYER_ID[18]"));
}

TEST(BuiltinTREs, ENGRDAFromWpafbFrame) {
    const auto file =
        readSharedFile("corpus/codice/WPAFB-21Oct2009/20091021203850-01001116-VIS.ntf.r3");
    SKIP_WITHOUT(file, "codice/WPAFB-21Oct2009 frame");
    const auto bytes = findTRE(*file, "ENGRDA");
    ASSERT_TRUE(bytes);
    ParsedTRE parsed("ENGRDA", *bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.trimmed("RESRC"), "LAIR2EOSensor");
    EXPECT_EQ(parsed.raw("RECNT"), "023");
    EXPECT_EQ(parsed.raw("ENGLBL[0]"), "version");
    EXPECT_EQ(parsed.raw("ENGDATA[0]"), "2");
    EXPECT_EQ(parsed.raw("ENGLBL[1]"), "majorVersion");
    EXPECT_EQ(parsed.raw("ENGDATU[2]"), "NA");
    EXPECT_TRUE(parsed.has("ENGDATA[22]"));
}

TEST(BuiltinTREs, RPFHDRFromTableOfContents) {
    const auto file = readSharedFile("corpus/gdal/rpftoc/zone9/RPF/A.TOC");
    SKIP_WITHOUT(file, "gdal/rpftoc/zone9/RPF/A.TOC");
    const auto bytes = findTRE(*file, "RPFHDR");
    ASSERT_TRUE(bytes);
    ParsedTRE parsed("RPFHDR", *bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.unsignedValue("HDSECL"), 48u);
    EXPECT_EQ(parsed.raw("FILENM"), "       A.TOC");
    EXPECT_EQ(parsed.raw("STDNUM"), "MIL-C-89038    ");
    EXPECT_EQ(parsed.raw("STDDAT"), "19941006");
    EXPECT_EQ(parsed.raw("CLASS"), "U");
    // Four-byte binaries stay in the file's order.
    EXPECT_EQ(parsed.raw("LOCSEC"), std::string("\x00\x00\x02\xab", 4));
}

TEST(BuiltinTREs, SENSRBFromGdalSample) {
    const auto file = readSharedFile("corpus/gdal/nitf/SENSRB_TRE.ntf");
    SKIP_WITHOUT(file, "gdal/nitf/SENSRB_TRE.ntf");
    const auto bytes = findTRE(*file, "SENSRB");
    ASSERT_TRUE(bytes);
    ParsedTRE parsed("SENSRB", *bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.trimmed("PLATFORM"), "                      UMS");
    EXPECT_EQ(parsed.raw("END_DATE"), "20190507");
    EXPECT_EQ(parsed.raw("END_TIME"), "0000084.059869");
    EXPECT_FALSE(parsed.has("DETECTION"));
    EXPECT_EQ(parsed.raw("TRANSFORM_PARAMS"), "3");
    EXPECT_EQ(parsed.raw("TRANSFORM_PARAM_3"), "         472");
    EXPECT_FALSE(parsed.has("TRANSFORM_PARAM_4"));
    EXPECT_EQ(parsed.raw("LATITUDE_OR_X"), "   43643267");
    EXPECT_EQ(parsed.raw("TIME_STAMPED_DATA_SETS"), "02");
    EXPECT_EQ(parsed.raw("TIME_STAMP_TYPE[0]"), "06b");
    EXPECT_EQ(parsed.raw("TIME_STAMP_VALUE[0][2]"), "333300001111");
    EXPECT_EQ(parsed.raw("TIME_STAMP_TYPE[1]"), "06e");
    EXPECT_EQ(parsed.raw("TIME_STAMP_TIME[1][1]"), "555555555555");
    EXPECT_EQ(parsed.raw("TIME_STAMP_VALUE[1][1]"), "55550000");
    EXPECT_EQ(parsed.raw("ADDITIONAL_PARAMETER_DATA"), "000");
}

TEST(BuiltinTREs, XMLDataContentSubheadersOfAllLengths) {
    const auto fixture = readSharedFile("fixtures/des_xml_data_content.ntf");
    SKIP_WITHOUT(fixture, "des_xml_data_content.ntf");
    const auto crcOnly = findDESSubheader(*fixture, "XML_DATA_CONTENT");
    ASSERT_TRUE(crcOnly);
    ParsedTRE checksum("XML_DATA_CONTENT", *crcOnly);
    expectExactRoundTrip(checksum);
    EXPECT_EQ(checksum.id(), "XML_DATA_CONTENT_005");
    EXPECT_EQ(checksum.raw("DESCRC"), "99999");
    EXPECT_FALSE(checksum.has("DESSHFT"));

    const auto sicd = readSharedFile("corpus/nitro/sicd_50x50.nitf");
    SKIP_WITHOUT(sicd, "nitro/sicd_50x50.nitf");
    const auto full = findDESSubheader(*sicd, "XML_DATA_CONTENT");
    ASSERT_TRUE(full);
    ParsedTRE parsed("XML_DATA_CONTENT", *full);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.id(), "XML_DATA_CONTENT_773");
    EXPECT_EQ(parsed.trimmed("DESSHFT"), "XML");
    EXPECT_EQ(parsed.trimmed("DESSHDT"), "2020-02-14T21:03:34Z");
    EXPECT_EQ(parsed.trimmed("DESSHSI"),
              "SICD Volume 1 Design & Implementation Description Document");
    EXPECT_EQ(parsed.trimmed("DESSHTN"), "urn:SICD:1.2.1");
    EXPECT_EQ(parsed.trimmed("DESSHLPG").substr(0, 25), "+45.29209731-073.59063532");
    EXPECT_EQ(parsed.trimmed("DESSHABS"), "");
}

TEST(BuiltinTREs, TREOverflowSubheaderIsEmpty) {
    const auto file = readSharedFile("fixtures/tre_overflow_des.ntf");
    SKIP_WITHOUT(file, "tre_overflow_des.ntf");
    const auto subheader = findDESSubheader(*file, "TRE_OVERFLOW");
    ASSERT_TRUE(subheader);
    EXPECT_TRUE(subheader->empty());
    ParsedTRE parsed("TRE_OVERFLOW", *subheader);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.id(), "TRE_OVERFLOW");
}

// ---- synthetic extensions ----------------------------------------------------------------

std::vector<FieldLayout> rpcLayout() {
    std::vector<FieldLayout> layout = {{"SUCCESS", 1},     {"ERR_BIAS", 7},   {"ERR_RAND", 7},
                                       {"LINE_OFF", 6},    {"SAMP_OFF", 5},   {"LAT_OFF", 8},
                                       {"LONG_OFF", 9},    {"HEIGHT_OFF", 5}, {"LINE_SCALE", 6},
                                       {"SAMP_SCALE", 5},  {"LAT_SCALE", 8},  {"LONG_SCALE", 9},
                                       {"HEIGHT_SCALE", 5}};
    for (const char* set :
         {"LINE_NUM_COEFF", "LINE_DEN_COEFF", "SAMP_NUM_COEFF", "SAMP_DEN_COEFF"}) {
        for (int i = 0; i < 20; ++i) {
            layout.push_back({std::string(set) + "[" + std::to_string(i) + "]", 12});
        }
    }
    return layout;
}

TEST(BuiltinTREs, RPC00AHasTheCoefficientLayout) {
    const auto layout = rpcLayout();
    ParsedTRE parsed("RPC00A", flatBytes(layout));
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.bytes().size(), 1041u);
    expectFlatFields(parsed, layout);
}

const std::vector<FieldLayout> kFrameAndIndices = {
    {"XUOL", 21}, {"YUOL", 21}, {"ZUOL", 21}, {"XUXL", 21}, {"XUYL", 21}, {"XUZL", 21},
    {"YUXL", 21}, {"YUYL", 21}, {"YUZL", 21}, {"ZUXL", 21}, {"ZUYL", 21}, {"ZUZL", 21},
    {"IR0", 2},   {"IRX", 2},   {"IRY", 2},   {"IRZ", 2},   {"IRXX", 2},  {"IRXY", 2},
    {"IRXZ", 2},  {"IRYY", 2},  {"IRYZ", 2},  {"IRZZ", 2},  {"IC0", 2},   {"ICX", 2},
    {"ICY", 2},   {"ICZ", 2},   {"ICXX", 2},  {"ICXY", 2},  {"ICXZ", 2},  {"ICYY", 2},
    {"ICYZ", 2},  {"ICZZ", 2},  {"GX0", 2},   {"GY0", 2},   {"GZ0", 2},   {"GXR", 2},
    {"GYR", 2},   {"GZR", 2},   {"GS", 2},    {"GXX", 2},   {"GXY", 2},   {"GXZ", 2},
    {"GYX", 2},   {"GYY", 2},   {"GYZ", 2},   {"GZX", 2},   {"GZY", 2},   {"GZZ", 2}};

TEST(BuiltinTREs, RSMIDAHasTheIdentificationLayout) {
    std::vector<FieldLayout> layout = {
        {"IID", 80},  {"EDITION", 40}, {"ISID", 40}, {"SID", 40},   {"STID", 40},  {"YEAR", 4},
        {"MONTH", 2}, {"DAY", 2},      {"HOUR", 2},  {"MINUTE", 2}, {"SECOND", 9}, {"NRG", 8},
        {"NCG", 8},   {"TRG", 21},     {"TCG", 21},  {"GRNDD", 1},  {"XUOR", 21},  {"YUOR", 21},
        {"ZUOR", 21}, {"XUXR", 21},    {"XUYR", 21}, {"XUZR", 21},  {"YUXR", 21},  {"YUYR", 21},
        {"YUZR", 21}, {"ZUXR", 21},    {"ZUYR", 21}, {"ZUZR", 21}};
    static const char* const vertices[] = {"V1X", "V1Y", "V1Z", "V2X", "V2Y", "V2Z", "V3X", "V3Y",
                                           "V3Z", "V4X", "V4Y", "V4Z", "V5X", "V5Y", "V5Z", "V6X",
                                           "V6Y", "V6Z", "V7X", "V7Y", "V7Z", "V8X", "V8Y", "V8Z"};
    for (const char* vertex : vertices) {
        layout.push_back({vertex, 21});
    }
    const std::vector<FieldLayout> rest = {
        {"GRPX", 21}, {"GRPY", 21}, {"GRPZ", 21}, {"FULLR", 8}, {"FULLC", 8}, {"MINR", 8},
        {"MAXR", 8},  {"MINC", 8},  {"MAXC", 8},  {"IE0", 21},  {"IER", 21},  {"IEC", 21},
        {"IERR", 21}, {"IERC", 21}, {"IECC", 21}, {"IA0", 21},  {"IAR", 21},  {"IAC", 21},
        {"IARR", 21}, {"IARC", 21}, {"IACC", 21}, {"SPX", 21},  {"SVX", 21},  {"SAX", 21},
        {"SPY", 21},  {"SVY", 21},  {"SAY", 21},  {"SPZ", 21},  {"SVZ", 21},  {"SAZ", 21}};
    layout.insert(layout.end(), rest.begin(), rest.end());
    ParsedTRE parsed("RSMIDA", flatBytes(layout));
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.bytes().size(), 1628u);
    expectFlatFields(parsed, layout);
}

std::vector<FieldLayout> sectionLayout(const std::string& prefix) {
    std::vector<std::string> names;
    for (const char* kind : {"R", "C"}) {
        for (const char* term : {"0", "X", "Y", "Z", "XX", "XY", "XZ", "YY", "YZ", "ZZ"}) {
            names.push_back(prefix + kind + term);
        }
    }
    for (const char* count : {"RNIS", "CNIS", "TNIS", "RSSIZ", "CSSIZ"}) {
        names.push_back(prefix + count);
    }
    std::vector<FieldLayout> layout = {{"IID", 80}, {"EDITION", 40}};
    for (size_t i = 0; i < names.size(); ++i) {
        const bool isCount = i >= 20 && i < 23;
        layout.push_back({names[i], isCount ? 3u : 21u});
    }
    return layout;
}

TEST(BuiltinTREs, RSMPIAAndRSMGIAHaveTheSectionLayout) {
    const auto polynomial = sectionLayout("");
    ParsedTRE pia("RSMPIA", flatBytes(polynomial));
    expectExactRoundTrip(pia);
    EXPECT_EQ(pia.bytes().size(), 591u);
    expectFlatFields(pia, polynomial);

    const auto grid = sectionLayout("G");
    ParsedTRE gia("RSMGIA", flatBytes(grid));
    expectExactRoundTrip(gia);
    EXPECT_EQ(gia.bytes().size(), 591u);
    expectFlatFields(gia, grid);
}

TEST(BuiltinTREs, RSMPCACoefficientListsFollowTheirCounts) {
    std::string bytes = text("image", 80) + text("edition", 40) + "001" + "002";
    for (int i = 0; i < 12; ++i) {
        bytes += text("+" + std::to_string(i) + ".0E+00", 21);
    }
    const int terms[] = {3, 1, 2, 0};
    for (int polynomial = 0; polynomial < 4; ++polynomial) {
        bytes += "123" + number(terms[polynomial], 3);
        for (int t = 0; t < terms[polynomial]; ++t) {
            bytes += text(std::to_string(polynomial) + "." + std::to_string(t), 21);
        }
    }
    ParsedTRE parsed("RSMPCA", bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.raw("CSN"), "002");
    EXPECT_EQ(parsed.trimmed("ZNRMSF"), "+11.0E+00");
    EXPECT_EQ(parsed.raw("RNTRMS"), "003");
    EXPECT_EQ(parsed.trimmed("RNPCF[2]"), "0.2");
    EXPECT_EQ(parsed.trimmed("RDPCF[0]"), "1.0");
    EXPECT_EQ(parsed.trimmed("CNPCF[1]"), "2.1");
    EXPECT_FALSE(parsed.has("CNPCF[2]"));
    EXPECT_FALSE(parsed.has("CDPCF[0]"));
    EXPECT_EQ(parsed.raw("CDPWRZ"), "3");
}

TEST(BuiltinTREs, RSMGGAGridPointsFollowPlanesAndDigits) {
    std::string bytes = text("image", 80) + text("edition", 40) + "001" + "001";
    bytes += text("0.5", 21) + text("0.25", 21) + "3" + "002";
    for (int i = 0; i < 6; ++i) {
        bytes += text(std::to_string(i * 10), 21);
    }
    bytes += number(100, 9) + number(200, 9) + "05" + "04" + "1" + "0";
    bytes += std::string("0001") + "0002";  // offsets of the second plane
    // plane 0: 2 x 1 points, plane 1: 1 x 3 points; rows of 5 digits, columns of 4
    const int points[2][2] = {{2, 1}, {1, 3}};
    for (int plane = 0; plane < 2; ++plane) {
        bytes += number(points[plane][0], 3) + number(points[plane][1], 3);
        for (int p = 0; p < points[plane][0] * points[plane][1]; ++p) {
            bytes += number(plane * 1000 + p, 5) + number(p, 4);
        }
    }
    ParsedTRE parsed("RSMGGA", bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.raw("IXO[0]"), "0001");
    EXPECT_EQ(parsed.raw("IYO[0]"), "0002");
    EXPECT_FALSE(parsed.has("IXO[1]"));
    EXPECT_EQ(parsed.raw("NYPTS[1]"), "003");
    EXPECT_EQ(parsed.raw("RCOORD[0][1]"), "00001");
    EXPECT_EQ(parsed.raw("RCOORD[1][2]"), "01002");
    EXPECT_EQ(parsed.raw("CCOORD[1][2]"), "0002");
    EXPECT_FALSE(parsed.has("RCOORD[0][2]"));
}

TEST(BuiltinTREs, RSMAPAParametersFollowTheirCount) {
    std::string bytes = text("image", 80) + text("edition", 40) + text("triangulation", 40) + "03";
    const std::string frame = flatBytes(kFrameAndIndices);
    bytes += frame;
    for (int i = 0; i < 3; ++i) {
        bytes += text("+" + std::to_string(i) + ".5", 21);
    }
    ParsedTRE parsed("RSMAPA", bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.bytes().size(), 507u + 2 * 21);
    EXPECT_EQ(parsed.trimmed("TID"), "triangulation");
    EXPECT_EQ(parsed.raw("XUOL"), frame.substr(0, 21));
    EXPECT_EQ(parsed.raw("GX0"), frame.substr(12 * 21 + 20 * 2, 2));
    EXPECT_EQ(parsed.raw("GZZ"), frame.substr(frame.size() - 2));
    EXPECT_EQ(parsed.trimmed("PARVAL[2]"), "+2.5");
    EXPECT_FALSE(parsed.has("PARVAL[3]"));
}

TEST(BuiltinTREs, RSMDCACovarianceIsTheUpperTriangle) {
    std::string bytes = text("image", 80) + text("edition", 40) + text("tri", 40);
    bytes += "02" + number(2, 3) + number(3, 5);
    bytes += text("first image", 80) + "01" + text("second image", 80) + "02";
    const std::string frame = flatBytes(kFrameAndIndices);
    bytes += frame;
    for (int i = 0; i < 6; ++i) {  // (3 + 1) * 3 / 2
        bytes += text("c" + std::to_string(i), 21);
    }
    ParsedTRE parsed("RSMDCA", bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.trimmed("IIDI[1]"), "second image");
    EXPECT_EQ(parsed.raw("NPARI[1]"), "02");
    EXPECT_EQ(parsed.raw("ICZZ"), frame.substr(12 * 21 + 19 * 2, 2));
    EXPECT_EQ(parsed.trimmed("DERCOV[5]"), "c5");
    EXPECT_FALSE(parsed.has("DERCOV[6]"));
}

TEST(BuiltinTREs, RSMECAWithBothCovariances) {
    std::string bytes = text("image", 80) + text("edition", 40) + text("tri", 40) + "Y" + "Y";
    bytes += "02" + std::string("03") + "02" + "20240101";
    const std::string frame = flatBytes(kFrameAndIndices);
    bytes += frame;
    // subgroup 0: 2 parameters -> 3 elements, 1 segment; subgroup 1: 1 parameter -> 1, none
    bytes += "02" + text("e00", 21) + text("e01", 21) + text("e02", 21) + "1" + "1" +
             text("0.9", 21) + text("10", 21);
    bytes += "01" + text("e10", 21) + "0" + "0";
    for (int i = 0; i < 6; ++i) {  // NPAR * NPAR0
        bytes += text("m" + std::to_string(i), 21);
    }
    bytes += text("1.0", 21) + text("0.1", 21) + text("2.0", 21);
    bytes += "2" + text("a", 21) + text("b", 21) + text("c", 21) + text("d", 21);
    bytes += "1" + text("e", 21) + text("f", 21);
    ParsedTRE parsed("RSMECA", bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.raw("CVDATE"), "20240101");
    EXPECT_EQ(parsed.trimmed("ERRCVG[0][2]"), "e02");
    EXPECT_EQ(parsed.trimmed("TAUSEG[0][0]"), "10");
    EXPECT_EQ(parsed.trimmed("ERRCVG[1][0]"), "e10");
    EXPECT_FALSE(parsed.has("ERRCVG[1][1]"));
    EXPECT_EQ(parsed.trimmed("MAP[5]"), "m5");
    EXPECT_EQ(parsed.trimmed("UTAUSR[1]"), "d");
    EXPECT_EQ(parsed.trimmed("UTAUSC[0]"), "f");
}

TEST(BuiltinTREs, RSMECAWithoutCovariancesIsJustTheHeader) {
    const std::string bytes = text("image", 80) + text("edition", 40) + text("tri", 40) + "NN";
    ParsedTRE parsed("RSMECA", bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.bytes().size(), 162u);
    EXPECT_FALSE(parsed.has("NPAR"));
    EXPECT_FALSE(parsed.has("URR"));
}

TEST(BuiltinTREs, FlatLayoutsOfIdentificationExtensions) {
    const std::map<std::string, std::vector<FieldLayout>> layouts = {
        {"STDIDC",
         {{"ACQUISITION_DATE", 14},
          {"MISSION", 14},
          {"PASS", 2},
          {"OP_NUM", 3},
          {"START_SEGMENT", 2},
          {"REPRO_NUM", 2},
          {"REPLAY_REGEN", 3},
          {"BLANK_FILL", 1},
          {"START_COLUMN", 3},
          {"START_ROW", 5},
          {"END_SEGMENT", 2},
          {"END_COLUMN", 3},
          {"END_ROW", 5},
          {"COUNTRY", 2},
          {"WAC", 4},
          {"LOCATION", 11},
          {"RESERV01", 5},
          {"RESERV02", 8}}},
        {"CSEXRA",
         {{"SENSOR", 6},
          {"TIME_FIRST_LINE_IMAGE", 12},
          {"TIME_IMAGE_DURATION", 12},
          {"MAX_GSD", 5},
          {"ALONG_SCAN_GSD", 5},
          {"CROSS_SCAN_GSD", 5},
          {"GEO_MEAN_GSD", 5},
          {"A_S_VERT_GSD", 5},
          {"C_S_VERT_GSD", 5},
          {"GEO_MEAN_VERT_GSD", 5},
          {"GSD_BETA_ANGLE", 5},
          {"DYNAMIC_RANGE", 5},
          {"NUM_LINES", 7},
          {"NUM_SAMPLES", 5},
          {"ANGLE_TO_NORTH", 7},
          {"OBLIQUITY_ANGLE", 6},
          {"AZ_OF_OBLIQUITY", 7},
          {"GRD_COVER", 1},
          {"SNOW_DEPTH_CAT", 1},
          {"SUN_AZIMUTH", 7},
          {"SUN_ELEVATION", 7},
          {"PREDICTED_NIIRS", 3},
          {"CIRCL_ERR", 3},
          {"LINEAR_ERR", 3}}},
        {"PIAIMC",
         {{"CLOUDCVR", 3},
          {"SRP", 1},
          {"SENSMODE", 12},
          {"SENSNAME", 18},
          {"SOURCE", 255},
          {"COMGEN", 2},
          {"SUBQUAL", 1},
          {"PIAMSNNUM", 7},
          {"CAMSPECS", 32},
          {"PROJID", 2},
          {"GENERATION", 1},
          {"ESD", 1},
          {"OTHERCOND", 2},
          {"MEANGSD", 7},
          {"IDATUM", 3},
          {"IELLIP", 3},
          {"PREPROC", 2},
          {"IPROJ", 2},
          {"SATTRACK", 8}}},
        {"MSTGTA",
         {{"TGTNUM", 5},
          {"TGTID", 12},
          {"TGTBE", 15},
          {"TGTPRI", 3},
          {"TGTREQ", 12},
          {"TGTLTIOV", 12},
          {"TGTTYPE", 1},
          {"TGTCOLL", 1},
          {"TGTCAT", 5},
          {"TGTUTC", 7},
          {"TGTELEV", 6},
          {"TGTELEVUNIT", 1},
          {"TGTLOC", 21}}},
        {"CSCRNA",
         {{"PREDICT_CORNERS", 1},
          {"ULCNR_LAT", 9},
          {"ULCNR_LONG", 10},
          {"ULCNR_HT", 8},
          {"URCNR_LAT", 9},
          {"URCNR_LONG", 10},
          {"URCNR_HT", 8},
          {"LRCNR_LAT", 9},
          {"LRCNR_LONG", 10},
          {"LRCNR_HT", 8},
          {"LLCNR_LAT", 9},
          {"LLCNR_LONG", 10},
          {"LLCNR_HT", 8}}},
    };
    const std::map<std::string, size_t> lengths = {
        {"STDIDC", 89}, {"CSEXRA", 132}, {"PIAIMC", 362}, {"MSTGTA", 101}, {"CSCRNA", 109}};
    for (const auto& [tag, layout] : layouts) {
        SCOPED_TRACE(tag);
        ParsedTRE parsed(tag.c_str(), flatBytes(layout));
        expectExactRoundTrip(parsed);
        EXPECT_EQ(parsed.bytes().size(), lengths.at(tag));
        expectFlatFields(parsed, layout);
    }
}

TEST(BuiltinTREs, PIAPRDListsFollowTheirCounts) {
    std::string bytes = text("access", 64) + text("control", 32) + "D" + "PC" + text("SE", 6) +
                        text("ident", 20) + text("short", 10) + "CD" + "20240102030405" +
                        text("map", 40);
    bytes += "02" + text("section one", 40) + "00001" + "003" + text("section two", 40) + "00002" +
             "004";
    bytes += "01" + text("organisation", 64);
    bytes += "00";
    bytes += "02" + text("report a", 20) + text("report b", 20);
    bytes += "01" + text("some text", 255);
    ParsedTRE parsed("PIAPRD", bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.trimmed("FMCNTROL"), "control");
    EXPECT_EQ(parsed.raw("PRODCRTM"), "20240102030405");
    EXPECT_EQ(parsed.trimmed("SECTITLE[1]"), "section two");
    EXPECT_EQ(parsed.raw("TPP[1]"), "004");
    EXPECT_EQ(parsed.trimmed("REQORG[0]"), "organisation");
    EXPECT_FALSE(parsed.has("KEYWORD[0]"));
    EXPECT_EQ(parsed.trimmed("ASSRPT[1]"), "report b");
    EXPECT_EQ(parsed.trimmed("ATEXT[0]"), "some text");
}

TEST(BuiltinTREs, J2KLRAOfAParsedStreamHasTheCurrentLayers) {
    const std::string bytes = "9" + std::string("05") + "00001" + "002" + "000" + "00.500000" +
                              "001" + "01.000000" + "04" + "00001" + "001";
    ParsedTRE parsed("J2KLRA", bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.raw("BITRATE[1]"), "01.000000");
    EXPECT_EQ(parsed.raw("NLEVELS_I"), "04");
    EXPECT_EQ(parsed.raw("NLAYERS_I"), "001");
}

TEST(BuiltinTREs, HISTOAConditionalStepsAndComments) {
    std::string bytes = text("SYS", 20) + text("NC", 12) + text("PE", 4) + "0" + "01" + "01";
    bytes += "20240101000000" + text("site", 10) + text("app", 10) + "2" + text("first", 80) +
             text("second", 80);
    bytes += "11" + std::string("INT") + text("NONE", 10) + "Y";
    bytes += "1" + text("090.0", 8);                 // rotation
    bytes += "1" + text("1.5", 7) + text("2.5", 7);  // asymmetric zoom
    bytes += "0";                                    // projection
    bytes += "1" + std::string("01") + "02";         // sharpening
    bytes += "1" + text("2.0", 7);                   // magnification
    bytes += "1" + text("1.2", 7) + "00010";         // dynamic range
    bytes += "1" + std::string("03") + "04";         // tonal transfer
    bytes += "0" + std::string("08") + "INT" + text("NONE", 10);
    ParsedTRE parsed("HISTOA", bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.trimmed("IPCOM[0][1]"), "second");
    EXPECT_EQ(parsed.trimmed("ROT_ANGLE[0]"), "090.0");
    EXPECT_EQ(parsed.trimmed("ZOOMCOL[0]"), "2.5");
    EXPECT_EQ(parsed.raw("SHARPMEM[0]"), "02");
    EXPECT_EQ(parsed.trimmed("MAG_LEVEL[0]"), "2.0");
    EXPECT_EQ(parsed.raw("DRA_SUB[0]"), "00010");
    EXPECT_EQ(parsed.raw("TTCMEM[0]"), "04");
    EXPECT_EQ(parsed.raw("OBPP[0]"), "08");
}

TEST(BuiltinTREs, ENGRDAValuesAreCountTimesSizeBytes) {
    std::string bytes = text("source", 20) + "002";
    bytes += "05" + std::string("temps") + "0002" + "0001" + "I" + "2" + "tC" + "00000002";
    bytes += std::string("\x01\x02\x03\x04", 4);
    bytes += "04" + std::string("name") + "0004" + "0001" + "A" + "1" + "NA" + "00000004";
    bytes += "abcd";
    ParsedTRE parsed("ENGRDA", bytes);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.raw("ENGLBL[0]"), "temps");
    EXPECT_EQ(parsed.raw("ENGDATU[0]"), "tC");
    EXPECT_EQ(parsed.raw("ENGDATA[0]").size(), 4u);
    EXPECT_EQ(parsed.raw("ENGLBL[1]"), "name");
    EXPECT_EQ(parsed.raw("ENGDATA[1]"), "abcd");
}

// All optional modules present, with point sets, pixel-referenced values, uncertainties and
// additional parameters.
std::string fullSENSRB() {
    std::string bytes = "Y" + text("sensor", 25) + text("urn:sensor", 32) + text("platform", 25) +
                        text("urn:platform", 32) + text("AIRBORNE", 10) + "5" + "WGS84" + "G" +
                        "HAE" + "SI" + "DEG" + "20240101" + "00000000000000" + "20240101" +
                        "00000000000010" + "01" + "20240102" + "0000000000";
    bytes += "Y" + text("PAN", 20) + number(1000, 8) + number(2000, 8) + number(5, 8) +
             number(10, 8) + number(100, 8) + number(3, 8) + number(6, 8) + "Y";
    bytes += "Y" + text("mm", 2) + number(1, 9) + number(2, 9) + text("r1", 12) + text("r2", 12) +
             text("r3", 12) + number(9, 9) + text("d1", 12) + text("d2", 12) + text("a1", 12) +
             text("a2", 12) + "20230101";
    bytes += "Y" + text("FRAME", 15) + "001" + number(1000, 8) + number(2000, 8) + number(1, 8) +
             number(1, 8) + number(0, 10) + number(0, 10) + number(0, 8) + number(0, 8) + "8";
    for (int k = 1; k <= 8; ++k) {
        bytes += text("p" + std::to_string(k), 12);
    }
    bytes += number(1, 12) + number(500, 8) + number(1000, 8) + number(45, 11) +
             text("-117.5", 12) + number(1000, 11) + number(0, 8) + number(0, 8) + number(0, 8);
    bytes += "Y" + std::string("1") + number(1, 10) + number(2, 9) + number(3, 10) + "N" +
             number(4, 9) + number(5, 9) + number(6, 10);
    bytes += "Y";
    for (int i = 0; i < 9; ++i) {
        bytes += number(i, 10);
    }
    bytes += "Y" + number(1, 10) + number(2, 10) + number(3, 10) + number(4, 10);
    bytes += "Y" + number(7, 9) + number(8, 9) + number(9, 9);
    bytes += "01" + text("corners", 25) + "002";
    for (int p = 0; p < 2; ++p) {
        bytes += number(p, 8) + number(p, 8) + number(p, 10) + number(p, 11) + number(p, 6) +
                 number(p, 8);
    }
    bytes += "01" + std::string("07c") + "0001" + number(5, 12) + number(77, 9);
    bytes += "01" + std::string("10a") + "0002" + number(1, 8) + number(2, 8) + number(11, 9) +
             number(3, 8) + number(4, 8) + number(22, 9);
    bytes += "001" + text("06a", 11) + text("06b", 11) + text("0.5", 10);
    bytes += "001" + text("gain", 25) + "003" + "0002" + "abc" + "def";
    return bytes;
}

TEST(BuiltinTREs, SENSRBWithEveryModule) {
    ParsedTRE parsed("SENSRB", fullSENSRB());
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.trimmed("OPERATION_DOMAIN"), "AIRBORNE");
    EXPECT_EQ(parsed.raw("COLUMN_FOV"), number(6, 8));
    EXPECT_EQ(parsed.trimmed("DECENT_DISTORT_2"), "d2");
    EXPECT_EQ(parsed.raw("CALIBRATION_DATE"), "20230101");
    EXPECT_EQ(parsed.trimmed("TRANSFORM_PARAM_8"), "p8");
    EXPECT_EQ(parsed.raw("PLATFORM_ROLL"), number(6, 10));
    EXPECT_EQ(parsed.raw("ICZ_DOWN_OR_Z"), number(8, 10));
    EXPECT_EQ(parsed.raw("ATTITUDE_Q4"), number(4, 10));
    EXPECT_EQ(parsed.raw("VELOCITY_DOWN_OR_Z"), number(9, 9));
    EXPECT_EQ(parsed.raw("P_RANGE[0][1]"), number(1, 8));
    EXPECT_EQ(parsed.raw("TIME_STAMP_VALUE[0][0]"), number(77, 9));
    EXPECT_EQ(parsed.raw("PIXEL_REFERENCE_VALUE[0][1]"), number(22, 9));
    EXPECT_EQ(parsed.trimmed("UNCERTAINTY_VALUE[0]"), "0.5");
    EXPECT_EQ(parsed.raw("PARAMETER_VALUE[0][1]"), "def");
}

TEST(BuiltinTREs, XMLDataContentDocumentAndEmptySubheaders) {
    std::string document = "99999" + text("XML", 8) + text("2024-01-01T00:00:00Z", 20) +
                           text("party", 40) + text("standard", 60) + text("1.0", 10) +
                           text("2023-01-01T00:00:00Z", 20) + text("urn:test", 120);
    ParsedTRE parsed("XML_DATA_CONTENT", document);
    expectExactRoundTrip(parsed);
    EXPECT_EQ(parsed.id(), "XML_DATA_CONTENT_283");
    EXPECT_EQ(parsed.trimmed("DESSHTN"), "urn:test");
    EXPECT_FALSE(parsed.has("DESSHABS"));

    ParsedTRE empty("XML_DATA_CONTENT", "");
    expectExactRoundTrip(empty);
    EXPECT_EQ(empty.id(), "XML_DATA_CONTENT_000");

    ParsedTRE odd("XML_DATA_CONTENT", std::string(100, ' '));
    EXPECT_FALSE(odd.parsed());
}

}  // namespace
