#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Descriptions of header and extension fields for people: JSON resource files in
// "Resources/Raster/NITF/TREs", one per header or extension, found and kept on first use.
// A path ending in "@Info" reads them instead of a field's value.

#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace Tessel {

class NITFInfo {
public:
    // Which description file, and which field in it, a path names.
    struct InfoPath {
        std::string_view name;
        std::string_view field;
    };

    using FieldMap = std::map<std::string, std::string, std::less<>>;

    static NITFInfo& get();

    // "NAME/FIELD" gives both, "NAME" the name alone; any other number of non-empty parts
    // gives neither. The views point into `path`.
    static InfoPath getInfoPath(const std::string_view& path);

    // The field's description as compact JSON; for a field that the file doesn't list, or
    // no field, the whole document; empty when there is no usable file.
    std::string readJSON(const InfoPath& path);

    // Reads the description file of `name` (blanks in the name become "_"): each member of
    // its "Fields" object under its name cut before any "<", with "Field" set to the full
    // member name, and the whole document under "None". Empty when the file is missing or
    // isn't valid JSON.
    static FieldMap loadField(const std::string_view& name);

    NITFInfo(const NITFInfo&) = delete;
    NITFInfo& operator=(const NITFInfo&) = delete;

private:
    NITFInfo();
    ~NITFInfo();

    // The field map of a name, read on the first call and kept, even when empty, so that a
    // missing file isn't looked for again.
    const FieldMap& getFieldMap(const std::string_view& name);

    std::mutex mutex_;
    std::map<std::string, FieldMap, std::less<>> maps_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
