#pragma once
// Support for the tests that read the shared fixtures and corpus through paths: the lists
// of files, the JSON text of the path language made parseable, and the comparison of what
// GDAL reports (in the fixtures' sidecars) with what a path gives.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "paths/PathDictionary.h"
#include "support/TestPaths.h"
#include "tessel/platform/base/lumo_codec.h"
#include "tests/paths/dictionary_test_support.h"
#include "tests/platform/nitf/nitf_test_files.h"

namespace dictionary_files {

using dictionary_test::RecordContext;
using namespace NITFPathInternal;
using Json = nlohmann::json;

inline const std::filesystem::path kShared = TESSEL_SHARED_DIR;

inline std::vector<std::filesystem::path> fixtureFiles(const std::string& extension) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(kShared / "fixtures")) {
        if (entry.path().extension() == extension && entry.path().stem() != "manifest") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

inline std::vector<nitf_test::Row> corpusRows() {
    return nitf_test::readTable(kShared / "corpus" / "MANIFEST.tsv");
}

inline bool haveShared() {
    return std::filesystem::exists(kShared / "fixtures") &&
           std::filesystem::exists(kShared / "corpus" / "MANIFEST.tsv");
}

inline std::string trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\v\n";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(first, text.find_last_not_of(kBlanks) - first + 1));
}

// The JSON output writes a byte above 127 as "\u" and its value as a negative number
// ("\u-017"), which no JSON parser takes; such escapes become "?" before parsing.
inline std::string withoutNegativeEscapes(const std::string& json) {
    std::string out;
    out.reserve(json.size());
    for (size_t i = 0; i < json.size(); ++i) {
        if (json[i] != '\\' || i + 1 >= json.size()) {
            out += json[i];
            continue;
        }
        if (json[i + 1] == 'u' && i + 2 < json.size() && json[i + 2] == '-') {
            out += '?';
            i += 5;
            continue;
        }
        out += json[i];
        out += json[i + 1];
        ++i;
    }
    return out;
}

// Compares one value read through a path with GDAL's, both trimmed. The reader gives a
// path's value as narrow text, or nothing when the path isn't there.
class Comparison {
public:
    using Reader = std::function<std::optional<std::string>(const std::string& path, int image)>;

    explicit Comparison(Reader reader) : reader_(std::move(reader)) {}
    explicit Comparison(RecordContext& context)
        : reader_([&context](const std::string& path, int image) {
              return context.text(path, image);
          }) {}

    std::optional<std::string> text(const std::string& path, int image = 0) const {
        return reader_(path, image);
    }

    void expect(const std::string& path, const std::string& gdal, int image = 0) {
        const auto ours = text(path, image);
        EXPECT_TRUE(ours.has_value() || trimmed(gdal).empty()) << path << " not found";
        EXPECT_EQ(trimmed(ours.value_or("")), trimmed(gdal)) << path;
        ++compared;
    }
    // The number of GDAL's text against the number in our field's text, or in part of it.
    void expectNumber(const std::string& path, const std::string& gdal, size_t pos = 0,
                      size_t count = std::string::npos) {
        const auto ours = text(path);
        ASSERT_TRUE(ours) << path;
        EXPECT_EQ(std::stoll(ours->substr(pos, count)), std::stoll(gdal)) << path;
        ++compared;
    }

    int compared = 0;

private:
    Reader reader_;
};

// GDAL's "r,g,b" of the background colour as "#rrggbb".
inline std::string htmlColor(const std::string& gdal) {
    int r = 0, g = 0, b = 0;
    if (std::sscanf(gdal.c_str(), "%d,%d,%d", &r, &g, &b) != 3) {
        return "?";
    }
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", r, g, b);
    return text;
}

// The path of a key of GDAL's default metadata domain, or "" for a key of GDAL's own.
inline std::string pathOfGdalKey(const std::string& key, int image) {
    static const std::set<std::string> fileFields{"CLEVEL", "STYPE",  "OSTAID", "FDT",
                                                  "FTITLE", "FSCLAS", "FSCOP",  "FSCPYS",
                                                  "ENCRYP", "ONAME",  "OPHONE"};
    static const std::set<std::string> imageFields{
        "IID1", "IDATIM", "TGTID",  "IID2",   "ISCLAS", "ISORCE", "PVTYPE", "IREP", "ICAT",
        "ABPP", "PJUST",  "ICORDS", "IGEOLO", "IC",     "COMRAT", "IMODE",  "IMAG", "IXSOFL"};
    // GDAL's names of security fields that the record holds under other names.
    static const std::map<std::string, std::string> securityNames{{"SRDT", "RDT"},
                                                                  {"DWNG", "DGDT"}};
    const std::string images = "/Images/" + std::to_string(image) + "/";
    if (fileFields.count(key) != 0) {
        return "/FileHeader/" + key;
    }
    if (imageFields.count(key) != 0) {
        return images + key;
    }
    if (key == "ITITLE") {
        return images + "IID2";
    }
    if (key.size() > 2 && (key.rfind("FS", 0) == 0 || key.rfind("IS", 0) == 0)) {
        std::string field = key.substr(2);
        if (auto renamed = securityNames.find(field); renamed != securityNames.end()) {
            field = renamed->second;
        }
        const std::string prefix = key.substr(0, 2);
        return (prefix == "FS" ? std::string("/FileHeader/") : images) + "Security/" + prefix +
               field;
    }
    return {};
}

inline void compareDefaultDomain(Comparison& comparison, const Json& domain, int image) {
    const std::string images = "/Images/" + std::to_string(image) + "/";
    for (const auto& [name, value] : domain.items()) {
        if (name.rfind("NITF_", 0) != 0 || !value.is_string()) {
            continue;
        }
        const std::string key = name.substr(5);
        const std::string gdal = value.get<std::string>();
        if (key == "FHDR") {
            comparison.expect("/FileHeader/FHDR", gdal.substr(0, 4));
            comparison.expect("/FileHeader/FVER", gdal.substr(4));
        } else if (key == "FBKGC") {
            comparison.expect("/FileHeader/FBKGC", htmlColor(gdal));
        } else if (key == "IDLVL" || key == "IALVL") {
            comparison.expectNumber(images + key, gdal);
        } else if (key == "ILOC_ROW" || key == "ILOC_COLUMN") {
            // GDAL splits ILOC into its five-digit row and column.
            comparison.expectNumber(images + "ILOC", gdal, key == "ILOC_ROW" ? 0 : 5, 5);
        } else if (key == "IMAGE_COMMENTS") {
            comparison.expect(images + "Comments?format=RAW", gdal);
        } else if (const std::string path = pathOfGdalKey(key, image); !path.empty()) {
            comparison.expect(path, gdal);
        }
    }
}

// Where GDAL's TRE of a location is: the image's or the file header's section, or any that
// concerns the image (an overflow segment) through "TRE".
inline std::string trePath(const std::string& location, int image) {
    if (location == "image") {
        return "/Images/" + std::to_string(image) + "/TREs/";
    }
    if (location == "file") {
        return "/FileHeader/TREs/";
    }
    return "/TRE/";
}

inline std::string attribute(const Node& node, std::string_view name) {
    if (node.kind != NodeKind::Dictionary || !node.dict) {
        return {};
    }
    const Node* found = node.dict->find(name);
    return found != nullptr && found->kind == NodeKind::String ? found->value : std::string();
}

// The fields of GDAL's description of one TRE (or of one group of it), compared by path.
inline void compareTreFields(Comparison& comparison, const Node& node, const std::string& prefix,
                             const std::string& subscripts, int image) {
    for (const auto& [key, child] : *node.dict) {
        if (key == "field") {
            comparison.expect(prefix + attribute(child, "@name") + subscripts,
                              attribute(child, "@value"), image);
        } else if (key == "repeated") {
            for (const auto& [groupKey, group] : *child.dict) {
                if (groupKey == "group") {
                    compareTreFields(comparison, group, prefix,
                                     subscripts + "/" + attribute(group, "@index"), image);
                }
            }
        }
    }
}

inline void compareXmlTres(Comparison& comparison, const std::string& xml, int image,
                           std::set<std::string>& described) {
    Tessel::NITFMessages messages;
    Dict document = encodeXMLContent(xml, messages, {});
    ASSERT_TRUE(messages.empty());
    const Node* tres = document.find("tres");
    ASSERT_NE(tres, nullptr);
    std::map<std::string, int> seen;
    std::map<std::string, int> total;
    for (const auto& [key, tre] : *tres->dict) {
        if (key == "tre") {
            ++total[attribute(tre, "@location") + "/" + attribute(tre, "@name")];
        }
    }
    for (const auto& [key, tre] : *tres->dict) {
        if (key != "tre") {
            continue;
        }
        const std::string name = attribute(tre, "@name");
        const std::string location = attribute(tre, "@location");
        std::string prefix = trePath(location, image) + name + "/";
        const std::string counted = location + "/" + name;
        if (total[counted] > 1) {
            prefix += std::to_string(seen[counted]++) + "/";
        }
        SCOPED_TRACE(prefix);
        EXPECT_EQ(comparison.text(prefix + "_isRaw", image), std::nullopt)
            << "GDAL knows " << name << ", the record holds it raw";
        described.insert(name);
        compareTreFields(comparison, tre, prefix, "", image);
    }
}

// A TRE that GDAL shows only as bytes: where the record holds it raw, the bytes agree.
inline void compareRawTres(Comparison& comparison, const Json& domain, int image,
                           const std::set<std::string>& described) {
    for (const auto& [name, value] : domain.items()) {
        if (described.count(name) != 0 || !value.is_string() ||
            comparison.text("/TRE/" + name + "/_isRaw", image) != "true") {
            continue;
        }
        const std::string gdal = value.get<std::string>();
        if (gdal.find('\\') != std::string::npos) {
            continue;  // GDAL escaped some bytes
        }
        const auto raw = comparison.text("/TRE/" + name + "/raw_data", image);
        ASSERT_TRUE(raw) << name;
        const auto bytes = lumo_codec::base64_decode(*raw);
        ASSERT_TRUE(bytes) << name;
        EXPECT_EQ(std::string(bytes->begin(), bytes->end()), gdal) << name;
        ++comparison.compared;
    }
}

inline void compareDes(Comparison& comparison, const std::string& xml) {
    Tessel::NITFMessages messages;
    Dict document = encodeXMLContent(xml, messages, {});
    ASSERT_TRUE(messages.empty());
    const Node* list = document.find("des_list");
    ASSERT_NE(list, nullptr);
    int index = 0;
    for (const auto& [key, des] : *list->dict) {
        if (key != "des") {
            continue;
        }
        const std::string base = "/DESs/" + std::to_string(index++) + "/";
        comparison.expect(base + "DESTAG", attribute(des, "@name"));
        for (const auto& [fieldKey, field] : *des.dict) {
            if (fieldKey != "field") {
                continue;
            }
            std::string name = attribute(field, "@name");
            const std::string value = attribute(field, "@value");
            if (name == "DESDATA") {
                comparison.expect(base + "DataBase64", value);
            } else if (name == "DESSHF") {
                // Without a definition of the subheader the record holds it raw.
                const Node* fields = field.dict->find("user_defined_fields");
                if (fields == nullptr ||
                    comparison.text(base + "UserDefinedSubHeader/_isRaw") == "true") {
                    continue;
                }
                for (const auto& [k, item] : *fields->dict) {
                    if (k == "field") {
                        comparison.expect(base + "UserDefinedSubHeader/" + attribute(item, "@name"),
                                          attribute(item, "@value"));
                    }
                }
            } else if (name == "DECLAS") {
                comparison.expect(base + "DESCLAS", value);
            } else if (name == "DESVER" || name == "DESOFLW" || name == "DESITEM" ||
                       name == "DESSHL") {
                comparison.expect(base + name, value);
            } else if (name.rfind("DES", 0) == 0) {
                std::string security = name.substr(3);
                if (security == "SRDT") {
                    security = "RDT";
                }
                comparison.expect(base + "Security/DES" + security, value);
            }
        }
    }
}

// How many values, and how many of them TRE fields, agreed with GDAL's sidecars.
struct GdalComparison {
    int values = 0;
    int treFields = 0;
};

// Reads back what GDAL reports of every fixture; `open` gives the reader of one file.
inline GdalComparison compareWithGdal(
    const std::function<Comparison(const std::filesystem::path& file)>& open) {
    GdalComparison totals;
    for (const auto& sidecar : fixtureFiles(".json")) {
        SCOPED_TRACE(sidecar.filename().string());
        const Json meta = Json::parse(std::ifstream(sidecar));
        Comparison comparison = open(kShared / "fixtures" / meta["file"].get<std::string>());
        const Json& images = meta["images"];
        for (int i = 0; i < static_cast<int>(images.size()); ++i) {
            const Json& metadata = images[i]["metadata"];
            if (!metadata.is_object()) {
                continue;
            }
            if (metadata.contains("default")) {
                compareDefaultDomain(comparison, metadata["default"], i);
            }
            const Json& bands = images[i]["bands"];
            for (size_t b = 0; b < bands.size(); ++b) {
                if (bands[b]["metadata"].is_object() &&
                    bands[b]["metadata"].contains("NITF_ISUBCAT")) {
                    comparison.expect(
                        "/Images/" + std::to_string(i) + "/Bands/" + std::to_string(b) + "/ISUBCAT",
                        bands[b]["metadata"]["NITF_ISUBCAT"].get<std::string>());
                }
            }
            std::set<std::string> described;
            if (metadata.contains("xml:TRE") && metadata["xml:TRE"].is_array()) {
                const int before = comparison.compared;
                compareXmlTres(comparison, metadata["xml:TRE"][0].get<std::string>(), i, described);
                totals.treFields += comparison.compared - before;
            }
            if (metadata.contains("TRE") && metadata["TRE"].is_object()) {
                compareRawTres(comparison, metadata["TRE"], i, described);
            }
        }
        const Json& domains = meta["file_domains"];
        if (domains.contains("xml:DES") && domains["xml:DES"].is_array()) {
            compareDes(comparison, domains["xml:DES"][0].get<std::string>());
        }
        if (domains.contains("TEXT") && domains["TEXT"].is_object()) {
            for (const auto& [key, value] : domains["TEXT"].items()) {
                if (key.rfind("DATA_", 0) == 0) {
                    comparison.expect("/Text/" + key.substr(5) + "/Data", value.get<std::string>());
                }
            }
        }
        totals.values += comparison.compared;
    }
    return totals;
}

}  // namespace dictionary_files
