#pragma once
// Reading files of the shared test corpus with the record layer.

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/TestPaths.h"
#include "tessel/platform/nitf.h"

namespace nitf_test {

inline std::filesystem::path sharedDir() {
    return TESSEL_SHARED_DIR;
}

// One row of a tab-separated file with a header line, by column name.
using Row = std::map<std::string, std::string>;

inline std::vector<Row> readTable(const std::filesystem::path& path) {
    std::ifstream in(path);
    std::vector<Row> rows;
    std::string line;
    std::vector<std::string> names;
    auto split = [](const std::string& text) {
        std::vector<std::string> parts;
        std::stringstream stream(text);
        std::string part;
        while (std::getline(stream, part, '\t')) {
            parts.push_back(part);
        }
        if (!text.empty() && text.back() == '\t') {
            parts.emplace_back();
        }
        return parts;
    };
    if (std::getline(in, line)) {
        names = split(line);
    }
    while (std::getline(in, line)) {
        std::vector<std::string> values = split(line);
        Row row;
        for (size_t i = 0; i < names.size(); ++i) {
            row[names[i]] = i < values.size() ? values[i] : std::string();
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

// A file read into a record; keeps the input open for segment and image readers.
struct OpenFile {
    nitf_Error error{};
    nitf_Reader* reader = nullptr;
    nitf_IOInterface* io = nullptr;
    nitf_Record* record = nullptr;

    explicit OpenFile(const std::filesystem::path& path) {
        reader = nitf_Reader_construct(&error);
        io = nitf_IOHandleAdapter_open(path.c_str(), NITF_ACCESS_READONLY, NITF_OPEN_EXISTING,
                                       &error);
        if (reader != nullptr && io != nullptr) {
            record = nitf_Reader_readIO(reader, io, &error);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() {
        nitf_Record_destruct(&record);
        nitf_Reader_destruct(&reader);
        nitf_IOInterface_destruct(&io);
    }
    std::vector<std::string> warnings() const {
        std::vector<std::string> out;
        for (nitf_ListNode* n = reader->warningList->first; n != nullptr; n = n->next) {
            out.emplace_back(static_cast<char*>(n->data));
        }
        return out;
    }
};

inline std::string text(const nitf_Field* field) {
    std::string value(field->raw, field->length);
    while (!value.empty() && value.back() == ' ') {
        value.pop_back();
    }
    size_t first = value.find_first_not_of(' ');
    return first == std::string::npos ? std::string() : value.substr(first);
}

template <typename T>
std::vector<T*> items(nitf_List* list) {
    std::vector<T*> out;
    for (nitf_ListNode* n = list->first; n != nullptr; n = n->next) {
        out.push_back(static_cast<T*>(n->data));
    }
    return out;
}

inline std::vector<std::string> treNames(nitf_Extensions* ext) {
    std::vector<std::string> names;
    if (ext == nullptr) {
        return names;
    }
    for (nitf_ListNode* n = ext->ref->first; n != nullptr; n = n->next) {
        names.emplace_back(static_cast<nitf_TRE*>(n->data)->tag);
    }
    return names;
}

}  // namespace nitf_test
