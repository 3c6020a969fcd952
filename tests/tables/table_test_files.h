#pragma once
// Small files for the table reader tests: image segments and a file header carrying TREs of
// two layouts registered here, a flat group ("TBLSGL": COUNT, ITEM[n]) and nested groups
// ("TBLNST": NUMA, then per entry X, NUMB and NUMB times VALUE).

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "tessel/file/NITFFile.h"
#include "tessel/platform/nitf.h"
#include "tessel/tables/TableReader.h"

namespace table_test {

using file_test::digits;
using file_test::padded;
using file_test::writeFile;

inline void registerTableTREs() {
    static nitf_TREDescription flat[] = {
        {NITF_BCS_N, 2, "count", "COUNT", nullptr}, {NITF_LOOP, 0, nullptr, "COUNT", nullptr},
        {NITF_BCS_A, 3, "item", "ITEM", nullptr},   {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
        {NITF_BCS_A, 4, "label", "LABEL", nullptr}, {NITF_END, 0, nullptr, nullptr, nullptr},
    };
    static nitf_TREDescriptionInfo flatInfos[] = {{"TBLSGL", flat, NITF_TRE_DESC_NO_LENGTH},
                                                  {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH}};
    static nitf_TREDescriptionSet flatSet = {0, flatInfos};
    static nitf_TREDescription nested[] = {
        {NITF_BCS_N, 1, "outer count", "NUMA", nullptr},
        {NITF_LOOP, 0, nullptr, "NUMA", nullptr},
        {NITF_BCS_A, 2, "outer name", "X", nullptr},
        {NITF_BCS_N, 1, "inner count", "NUMB", nullptr},
        {NITF_LOOP, 0, nullptr, "NUMB", nullptr},
        {NITF_BCS_A, 3, "value", "VALUE", nullptr},
        {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
        {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
        {NITF_END, 0, nullptr, nullptr, nullptr},
    };
    static nitf_TREDescriptionInfo nestedInfos[] = {{"TBLNST", nested, NITF_TRE_DESC_NO_LENGTH},
                                                    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH}};
    static nitf_TREDescriptionSet nestedSet = {0, nestedInfos};
    static const bool done = [] {
        nitf_Error error{};
        return nitf_PluginRegistry_registerDescriptionSet("TBLSGL", &flatSet, &error) &&
               nitf_PluginRegistry_registerDescriptionSet("TBLNST", &nestedSet, &error);
    }();
    ASSERT_TRUE(done);
}

// A TBLSGL with these items and a label.
inline std::string flatTre(const std::vector<std::string>& items, const std::string& label) {
    std::string payload = digits(items.size(), 2);
    for (const auto& item : items) {
        payload += padded(item, 3);
    }
    return image_test::rawTre("TBLSGL", payload + padded(label, 4));
}

// A TBLNST: one entry per outer name, each with its values.
inline std::string nestedTre(
    const std::vector<std::pair<std::string, std::vector<std::string>>>& entries) {
    std::string payload = digits(entries.size(), 1);
    for (const auto& [name, values] : entries) {
        payload += padded(name, 2) + digits(values.size(), 1);
        for (const auto& value : values) {
            payload += padded(value, 3);
        }
    }
    return image_test::rawTre("TBLNST", payload);
}

// The builder's file with `headerTres` in the file header's extended section.
inline std::string withHeaderTres(std::string bytes, const std::string& headerTres) {
    if (headerTres.empty()) {
        return bytes;
    }
    const size_t flAt = 342;
    const size_t hlAt = flAt + 12;
    const size_t headerLength = std::stoul(bytes.substr(hlAt, 6));
    const std::string section = digits(headerTres.size() + 3, 5) + "000" + headerTres;
    // XHDL "00000" ends the header.
    bytes.replace(headerLength - 5, 5, section);
    const size_t added = section.size() - 5;
    bytes.replace(hlAt, 6, digits(headerLength + added, 6));
    bytes.replace(flAt, 12, digits(std::stoull(bytes.substr(flAt, 12)) + added, 12));
    return bytes;
}

// A file of one-pixel images, each with its TREs, and the header's TREs.
inline std::shared_ptr<Tessel::NITFFile> writeAndOpen(
    const std::filesystem::path& path, const std::vector<std::vector<std::string>>& imageTres,
    const std::string& headerTres = {}) {
    image_test::ImageFileBuilder builder;
    for (const auto& tres : imageTres) {
        image_test::ImageLayout layout;
        layout.tres = tres;
        layout.data = std::string(1, '\0');
        builder.add(layout);
    }
    writeFile(path, withHeaderTres(builder.bytes(), headerTres));
    Tessel::NITFMessages messages;
    auto file = std::make_shared<Tessel::NITFFile>(Tessel::NITFURI(std::string_view(path.string())),
                                                   messages);
    return file;
}

inline Tessel::TableArguments definition(const std::string& type, const std::string& fields,
                                         const std::string& sources,
                                         const std::string& rowCount = {}) {
    Tessel::TableArguments arguments{{L"TableType", std::wstring(type.begin(), type.end())},
                                     {L"Fields", fields},
                                     {L"Sources", sources}};
    if (!rowCount.empty()) {
        arguments[L"RowCountField"] = rowCount;
    }
    return arguments;
}

}  // namespace table_test
