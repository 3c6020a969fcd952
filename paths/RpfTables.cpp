#include "paths/RpfTables.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <map>
#include <optional>
#include <string_view>

#include "tessel/platform/nitf/nitf_TRE.h"

namespace NITFPathInternal {
namespace {

using Json = nlohmann::ordered_json;

// Component ids of MIL-STD-2411-1.
enum RpfComponent : uint32_t {
    kCoverage = 130,
    kCompression = 131,
    kCompressionLookup = 132,
    kColorGray = 134,
    kColormap = 135,
    kImageDescription = 136,
    kImageDisplayParameters = 137,
    kMask = 138,
    kAttributeHeader = 141,
    kAttributes = 142,
    kArealCoverage = 143,
};

// No section that these tables read is anywhere near this long; a larger declared length is
// cut, so that a corrupt location can't make us read the whole file.
constexpr size_t kMaxSectionBytes = size_t{1} << 20;
constexpr uint32_t kAbsent = 0xFFFFFFFFu;

// Big-endian numbers and texts at positions of a byte string; every read checks the bounds.
class BigEndian {
public:
    explicit BigEndian(std::string_view bytes) : bytes_(bytes) {}

    size_t size() const { return bytes_.size(); }
    bool has(size_t pos, size_t count) const {
        return pos <= bytes_.size() && count <= bytes_.size() - pos;
    }

    std::optional<uint64_t> unsignedAt(size_t pos, size_t width) const {
        if (!has(pos, width)) {
            return std::nullopt;
        }
        uint64_t value = 0;
        for (size_t i = 0; i < width; ++i) {
            value = (value << 8) | static_cast<uint8_t>(bytes_[pos + i]);
        }
        return value;
    }
    std::optional<uint32_t> u8(size_t pos) const { return narrow(unsignedAt(pos, 1)); }
    std::optional<uint32_t> u16(size_t pos) const { return narrow(unsignedAt(pos, 2)); }
    std::optional<uint32_t> u32(size_t pos) const { return narrow(unsignedAt(pos, 4)); }
    std::optional<double> f32(size_t pos) const {
        auto bits = unsignedAt(pos, 4);
        if (!bits) {
            return std::nullopt;
        }
        return static_cast<double>(std::bit_cast<float>(static_cast<uint32_t>(*bits)));
    }
    std::optional<double> f64(size_t pos) const {
        auto bits = unsignedAt(pos, 8);
        if (!bits) {
            return std::nullopt;
        }
        return std::bit_cast<double>(*bits);
    }
    std::optional<std::string_view> bytes(size_t pos, size_t count) const {
        if (!has(pos, count)) {
            return std::nullopt;
        }
        return bytes_.substr(pos, count);
    }

private:
    static std::optional<uint32_t> narrow(std::optional<uint64_t> value) {
        if (!value) {
            return std::nullopt;
        }
        return static_cast<uint32_t>(*value);
    }

    std::string_view bytes_;
};

std::string decimal(uint64_t value) {
    return std::to_string(value);
}

// The shortest text that reads back as the same double.
std::string decimal(double value) {
    std::array<char, 32> buffer{};
    auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return std::string(buffer.data(), result.ptr);
}

std::string hex(std::string_view bytes) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(bytes.size() * 2);
    for (char c : bytes) {
        auto byte = static_cast<uint8_t>(c);
        out += kDigits[byte >> 4];
        out += kDigits[byte & 15];
    }
    return out;
}

// Text of an RPF field without the blanks and NULs of its padding.
std::string text(std::string_view bytes) {
    constexpr std::string_view kPadding(" \0", 2);
    const size_t first = bytes.find_first_not_of(kPadding);
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(bytes.substr(first, bytes.find_last_not_of(kPadding) - first + 1));
}

// The sections of one frame by component id, read on request.
class Sections {
public:
    Sections(const std::vector<RpfLocation>& locations, const RpfByteSource& source)
        : locations_(locations), source_(source) {}

    const RpfLocation* find(uint32_t id) const {
        auto it = std::find_if(locations_.begin(), locations_.end(),
                               [id](const RpfLocation& l) { return l.id == id; });
        return it == locations_.end() ? nullptr : &*it;
    }

    // The first `limit` bytes of the section (all of it when shorter); nothing when the
    // section isn't listed or can't be read.
    std::optional<std::string> read(uint32_t id, size_t limit = kMaxSectionBytes) const {
        const RpfLocation* location = find(id);
        if (location == nullptr) {
            return std::nullopt;
        }
        return readSpan(location->offset, std::min<size_t>(location->length, limit));
    }

    // Like read, but up to the next listed component when the declared length falls short of
    // it: some producers give the attribute subsection too small a length.
    std::optional<std::string> readToNextComponent(uint32_t id) const {
        const RpfLocation* location = find(id);
        if (location == nullptr) {
            return std::nullopt;
        }
        uint64_t end = uint64_t{location->offset} + location->length;
        uint64_t next = UINT64_MAX;
        for (const RpfLocation& other : locations_) {
            if (other.offset > location->offset && other.offset < next) {
                next = other.offset;
            }
        }
        if (next != UINT64_MAX && next > end) {
            end = next;
        }
        return readSpan(location->offset, static_cast<size_t>(std::min<uint64_t>(
                                              end - location->offset, kMaxSectionBytes)));
    }

private:
    std::optional<std::string> readSpan(uint64_t offset, size_t size) const {
        std::string bytes;
        if (size == 0 || !source_ || !source_(offset, size, bytes) || bytes.size() != size) {
            return std::nullopt;
        }
        return bytes;
    }

    const std::vector<RpfLocation>& locations_;
    const RpfByteSource& source_;
};

// --- coverage ---------------------------------------------------------------------------

Json corner(double lat, double lon) {
    Json out = Json::object();
    out["lat"] = decimal(lat);
    out["lon"] = decimal(lon);
    out["hgt"] = "0";  // the section has no heights
    return out;
}

std::optional<Json> readCoverage(const Sections& sections) {
    auto bytes = sections.read(kCoverage, 96);
    if (!bytes || bytes->size() < 96) {
        return std::nullopt;
    }
    BigEndian in(*bytes);
    std::array<double, 12> v{};
    for (size_t i = 0; i < v.size(); ++i) {
        v[i] = *in.f64(i * 8);
    }
    Json out = Json::object();
    out["UpperLeft"] = corner(v[0], v[1]);
    out["LowerLeft"] = corner(v[2], v[3]);
    out["UpperRight"] = corner(v[4], v[5]);
    out["LowerRight"] = corner(v[6], v[7]);
    out["VerticalResolution"] = decimal(v[8]);
    out["HorizontalResolution"] = decimal(v[9]);
    out["VerticalInterval"] = decimal(v[10]);
    out["HorizontalInterval"] = decimal(v[11]);
    return out;
}

// --- fixed headers ----------------------------------------------------------------------

// A field of a fixed header: its key, position and width in bytes.
struct HeaderField {
    const char* key;
    size_t pos;
    size_t width;
};

// All the fields, or nothing when the section is missing or too short for them.
template <size_t N>
std::optional<Json> readHeader(const Sections& sections, uint32_t id,
                               const std::array<HeaderField, N>& fields) {
    const HeaderField& last = fields.back();
    auto bytes = sections.read(id, last.pos + last.width);
    if (!bytes) {
        return std::nullopt;
    }
    BigEndian in(*bytes);
    Json out = Json::object();
    for (const HeaderField& field : fields) {
        auto value = in.unsignedAt(field.pos, field.width);
        if (!value) {
            return std::nullopt;
        }
        out[field.key] = decimal(*value);
    }
    return out;
}

constexpr std::array<HeaderField, 10> kImageDescriptionFields{{
    {"SpectralGroups", 0, 2},
    {"SubframeTables", 2, 2},
    {"SpectralBandTables", 4, 2},
    {"SpectralBandLinesPerRow", 6, 2},
    {"SubframesEastWest", 8, 2},
    {"SubframesNorthSouth", 10, 2},
    {"ColumnsPerSubframe", 12, 4},
    {"RowsPerSubframe", 16, 4},
    {"MaskTableOffset", 20, 4},
    {"TransTableOffset", 24, 4},
}};

constexpr std::array<HeaderField, 3> kImageDisplayFields{{
    {"ImageRows", 0, 4},
    {"ImageCodesPerRow", 4, 4},
    {"CodeBitLength", 8, 1},
}};

constexpr std::array<HeaderField, 3> kCompressionFields{{
    {"AlgorithmID", 0, 2},
    {"LookupOffsetRecords", 2, 2},
    {"ParameterOffsetRecords", 4, 2},
}};

constexpr std::array<HeaderField, 2> kLookupFields{{
    {"OffsetTableOffset", 0, 4},
    {"OffsetTableRecLength", 4, 2},
}};

// The compression subheader, with the head of the lookup subsection when that is there.
std::optional<Json> readCompression(const Sections& sections) {
    auto out = readHeader(sections, kCompression, kCompressionFields);
    if (!out) {
        return std::nullopt;
    }
    if (auto lookup = readHeader(sections, kCompressionLookup, kLookupFields)) {
        out->update(*lookup);
    }
    return out;
}

// --- mask -------------------------------------------------------------------------------

// The subframe offsets of the mask table; 4294967295 marks an absent subframe. The table's
// shape and place come from the image description subheader.
Json maskBlocks(const BigEndian& mask, size_t tableStart, uint32_t recordLength,
                const std::optional<std::string>& description) {
    Json blocks = Json::array();
    if (recordLength != 4 || !description) {
        return blocks;
    }
    BigEndian desc(*description);
    auto groups = desc.u16(0);
    auto eastWest = desc.u16(8);
    auto northSouth = desc.u16(10);
    auto tableOffset = desc.u32(20);
    if (!groups || !eastWest || !northSouth) {
        return blocks;
    }
    if (tableOffset && *tableOffset != kAbsent) {
        tableStart = *tableOffset;
    }
    const uint64_t count = uint64_t{*groups} * *eastWest * *northSouth;
    for (uint64_t i = 0; i < count; ++i) {
        auto offset = mask.u32(tableStart + i * 4);
        if (!offset) {
            break;
        }
        blocks.push_back(decimal(uint64_t{*offset}));
    }
    return blocks;
}

std::optional<Json> readMask(const Sections& sections) {
    auto bytes = sections.read(kMask);
    if (!bytes) {
        return std::nullopt;
    }
    BigEndian in(*bytes);
    auto subframeRecLen = in.u16(0);
    auto transRecLen = in.u16(2);
    auto codeBits = in.u16(4);
    if (!subframeRecLen || !transRecLen || !codeBits) {
        return std::nullopt;
    }
    Json out = Json::object();
    out["SubframeSeqRecLen"] = decimal(uint64_t{*subframeRecLen});
    out["TransSeqRecLen"] = decimal(uint64_t{*transRecLen});
    out["TransPixelCodeLen"] = decimal(uint64_t{*codeBits});
    if (*codeBits > 0) {
        if (auto code = in.u8(6)) {
            out["TransPixelCode"] = decimal(uint64_t{*code});
        }
    }
    const size_t tableStart = 6 + (size_t{*codeBits} + 7) / 8;
    out["Blocks"] =
        maskBlocks(in, tableStart, *subframeRecLen, sections.read(kImageDescription, 28));
    return out;
}

// --- colour tables ----------------------------------------------------------------------

Json colorTable(const BigEndian& in, size_t pos) {
    Json out = Json::object();
    out["TableID"] = decimal(uint64_t{*in.u16(pos)});
    out["ColorRecords"] = decimal(uint64_t{*in.u32(pos + 2)});
    out["ColorElemLen"] = decimal(uint64_t{*in.u8(pos + 6)});
    out["HistogramRecLen"] = decimal(uint64_t{*in.u16(pos + 7)});
    out["ColorTableOffset"] = decimal(uint64_t{*in.u32(pos + 9)});
    out["HistogramOffset"] = decimal(uint64_t{*in.u32(pos + 13)});
    return out;
}

constexpr size_t kColorRecordBytes = 17;

// The colour/grey section subheader, with the colormap subsection and its offset records
// when that is there.
std::optional<Json> readColormap(const Sections& sections) {
    auto head = sections.read(kColorGray, 14);
    if (!head || head->size() < 14) {
        return std::nullopt;
    }
    BigEndian grey(*head);
    const uint32_t tables = *grey.u8(0);
    Json out = Json::object();
    out["ColorOffestRecords"] = decimal(uint64_t{tables});
    out["ConverterOffestRecords"] = decimal(uint64_t{*grey.u8(1)});
    out["ExternalFile"] = text(*grey.bytes(2, 12));
    auto map = sections.read(kColormap);
    if (!map) {
        return out;
    }
    BigEndian in(*map);
    auto tableOffset = in.u32(0);
    auto recordLength = in.u16(4);
    if (!tableOffset || !recordLength) {
        return out;
    }
    out["OffsetTableOffset"] = decimal(uint64_t{*tableOffset});
    out["ColorOffsetRecLen"] = decimal(uint64_t{*recordLength});
    const size_t step = std::max<size_t>(*recordLength, kColorRecordBytes);
    Json list = Json::array();
    for (uint32_t i = 0; i < tables; ++i) {
        const size_t pos = *tableOffset + size_t{i} * step;
        if (!in.has(pos, kColorRecordBytes)) {
            break;
        }
        list.push_back(colorTable(in, pos));
    }
    out["Tables"] = std::move(list);
    return out;
}

// --- attributes -------------------------------------------------------------------------

enum class Format { Text, U16, U32, F32, F64 };

struct Parameter {
    uint32_t id;
    const char* name;
    Format format;
    size_t width;  // bytes of a text
};

struct Attribute {
    uint32_t id;
    const char* name;
    std::vector<Parameter> parameters;
};

const std::vector<Parameter> kDate{{1, "Date", Format::Text, 8}};
const std::vector<Parameter> kAccuracy{{1, "Accuracy", Format::U32, 0},
                                       {2, "Units", Format::U16, 0}};
const std::vector<Parameter> kAngle{{1, "Value", Format::F32, 0}, {2, "Units", Format::U16, 0}};

std::vector<Parameter> single(const char* name, Format format, size_t width = 0) {
    return {{1, name, format, width}};
}

// The attribute catalogue of MIL-STD-2411-1.
const std::vector<Attribute>& catalogue() {
    static const std::vector<Attribute> attributes{
        {1, "CurrencyDate", kDate},
        {2, "ProductionDate", kDate},
        {3, "SignificantDate", kDate},
        {4,
         "MapSource",
         {{1, "DataSeries", Format::Text, 10},
          {2, "MapDesignation", Format::Text, 8},
          {3, "OldHorizontalDatum", Format::Text, 4},
          {4, "Edition", Format::Text, 7}}},
        {5,
         "ProjectionSystem",
         {{1, "Code", Format::Text, 2},
          {2, "ParameterA", Format::F32, 0},
          {3, "ParameterB", Format::F32, 0},
          {4, "ParameterC", Format::F32, 0},
          {5, "ParameterD", Format::F32, 0}}},
        {6, "VerticalDatum", single("Datum", Format::Text, 4)},
        {7, "HorizontalDatum", single("Datum", Format::Text, 4)},
        {8, "VerticalAbsoluteAccuracy", kAccuracy},
        {9, "HorizontalAbsoluteAccuracy", kAccuracy},
        {10, "VerticalRelativeAccuracy", kAccuracy},
        {11, "HorizontalRelativeAccuracy", kAccuracy},
        {12, "Ellipsoid", single("Code", Format::Text, 3)},
        {13, "SoundingDatum", single("Datum", Format::Text, 4)},
        {14, "NavigationSystem", single("Code", Format::U16)},
        {15, "Grid", single("Code", Format::Text, 2)},
        {16, "EasterlyAnnualMagneticChange", kAngle},
        {17, "WesterlyAnnualMagneticChange", kAngle},
        {18, "GridNorthMagneticNorthAngle", kAngle},
        {19, "GridConvergenceAngle", kAngle},
        {20,
         "HighestKnownElevation",
         {{1, "Elevation", Format::U16, 0},
          {2, "Units", Format::U16, 0},
          {3, "Latitude", Format::F64, 0},
          {4, "Longitude", Format::F64, 0}}},
        {21, "MultipleLegend", single("File", Format::Text, 12)},
        {22, "ImageSource", {{1, "Source", Format::Text, 12}, {2, "GSD", Format::U32, 0}}},
        {23, "DataLevel", single("Level", Format::U16)},
        {24, "ChartUpdateInformation", {}},
        {25, "ContourInterval", {}},
    };
    return attributes;
}

const Attribute* findAttribute(uint32_t id) {
    for (const Attribute& attribute : catalogue()) {
        if (attribute.id == id) {
            return &attribute;
        }
    }
    return nullptr;
}

const Parameter* findParameter(const Attribute* attribute, uint32_t id) {
    if (attribute != nullptr) {
        for (const Parameter& parameter : attribute->parameters) {
            if (parameter.id == id) {
                return &parameter;
            }
        }
    }
    return nullptr;
}

// One offset record of the attribute subsection.
struct AttributeRecord {
    uint32_t attribute;
    uint32_t parameter;
    uint32_t arealCoverage;
    uint32_t offset;
};

// The value of a parameter of the catalogue; of an unknown one, the hexadecimal bytes up to
// the next value (at most 64).
std::optional<std::string> parameterValue(const BigEndian& in, const Parameter* parameter,
                                          uint32_t offset, size_t unknownWidth) {
    if (parameter == nullptr) {
        auto bytes = in.bytes(offset, std::min<size_t>(unknownWidth, 64));
        return bytes ? std::optional<std::string>(hex(*bytes)) : std::nullopt;
    }
    switch (parameter->format) {
        case Format::Text: {
            auto bytes = in.bytes(offset, parameter->width);
            return bytes ? std::optional<std::string>(text(*bytes)) : std::nullopt;
        }
        case Format::U16: {
            auto v = in.u16(offset);
            return v ? std::optional<std::string>(decimal(uint64_t{*v})) : std::nullopt;
        }
        case Format::U32: {
            auto v = in.u32(offset);
            return v ? std::optional<std::string>(decimal(uint64_t{*v})) : std::nullopt;
        }
        case Format::F32: {
            auto v = in.f32(offset);
            return v ? std::optional<std::string>(decimal(*v)) : std::nullopt;
        }
        case Format::F64: {
            auto v = in.f64(offset);
            return v ? std::optional<std::string>(decimal(*v)) : std::nullopt;
        }
    }
    return std::nullopt;
}

// The bytes from an offset to the next larger value offset, or to the end.
size_t widthToNext(const std::vector<AttributeRecord>& records, uint32_t offset, size_t end) {
    size_t next = end;
    for (const AttributeRecord& record : records) {
        if (record.offset > offset && record.offset < next) {
            next = record.offset;
        }
    }
    return next > offset ? next - offset : 0;
}

// The instances of one attribute in record order: a new one begins where the areal coverage
// changes or a parameter comes again.
struct Instance {
    uint32_t arealCoverage = 0;
    std::vector<std::pair<std::string, std::string>> values;
};

Json instanceValue(const Attribute* attribute, const Instance& instance) {
    if (attribute != nullptr && attribute->parameters.size() == 1 && instance.values.size() == 1 &&
        instance.values[0].first == attribute->parameters[0].name) {
        return instance.values[0].second;
    }
    Json out = Json::object();
    for (const auto& [name, value] : instance.values) {
        out[name] = value;
    }
    return out;
}

std::vector<AttributeRecord> attributeRecords(const BigEndian& header, const BigEndian& in) {
    std::vector<AttributeRecord> records;
    auto count = header.u16(0);
    auto tableOffset = header.u32(4);
    auto recordLength = header.u16(8);
    if (!count || !tableOffset || !recordLength) {
        return records;
    }
    const size_t step = std::max<size_t>(*recordLength, 8);
    for (uint32_t i = 0; i < *count; ++i) {
        const size_t pos = *tableOffset + size_t{i} * step;
        if (!in.has(pos, 8)) {
            break;
        }
        records.push_back({*in.u16(pos), *in.u8(pos + 2), *in.u8(pos + 3), *in.u32(pos + 4)});
    }
    return records;
}

std::optional<Json> readAttributes(const Sections& sections) {
    auto headerBytes = sections.read(kAttributeHeader, 10);
    auto bytes = sections.readToNextComponent(kAttributes);
    if (!headerBytes || !bytes) {
        return std::nullopt;
    }
    BigEndian header(*headerBytes);
    BigEndian in(*bytes);
    const std::vector<AttributeRecord> records = attributeRecords(header, in);

    std::vector<uint32_t> order;
    std::map<uint32_t, std::vector<Instance>> instances;
    for (const AttributeRecord& record : records) {
        const Attribute* attribute = findAttribute(record.attribute);
        const Parameter* parameter = findParameter(attribute, record.parameter);
        auto value = parameterValue(in, parameter, record.offset,
                                    widthToNext(records, record.offset, in.size()));
        if (!value) {
            continue;
        }
        std::string name =
            parameter != nullptr ? parameter->name : "Parameter" + std::to_string(record.parameter);
        auto [it, added] = instances.try_emplace(record.attribute);
        if (added) {
            order.push_back(record.attribute);
        }
        std::vector<Instance>& list = it->second;
        const bool repeated =
            !list.empty() && std::any_of(list.back().values.begin(), list.back().values.end(),
                                         [&](const auto& v) { return v.first == name; });
        if (list.empty() || list.back().arealCoverage != record.arealCoverage || repeated) {
            list.push_back({record.arealCoverage, {}});
        }
        list.back().values.emplace_back(std::move(name), std::move(*value));
    }

    Json out = Json::object();
    for (uint32_t id : order) {
        const Attribute* attribute = findAttribute(id);
        const std::string key =
            attribute != nullptr ? attribute->name : "Attribute" + std::to_string(id);
        const std::vector<Instance>& list = instances[id];
        if (list.size() == 1) {
            out[key] = instanceValue(attribute, list[0]);
            continue;
        }
        Json array = Json::array();
        for (const Instance& instance : list) {
            array.push_back(instanceValue(attribute, instance));
        }
        out[key] = std::move(array);
    }
    return out;
}

// --- explicit areal coverage ------------------------------------------------------------

// A record is a polygon: a 16-bit vertex count and that many pairs of 64-bit latitude and
// longitude. It is written "lat,lon lat,lon ..."; a record of another shape as hexadecimal.
std::string arealCoverage(const BigEndian& in, size_t pos, size_t length) {
    auto vertices = in.u16(pos);
    if (vertices && 2 + size_t{*vertices} * 16 <= length && in.has(pos, length)) {
        std::string out;
        for (size_t v = 0; v < *vertices; ++v) {
            if (!out.empty()) {
                out += ' ';
            }
            out += decimal(*in.f64(pos + 2 + v * 16));
            out += ',';
            out += decimal(*in.f64(pos + 10 + v * 16));
        }
        return out;
    }
    auto bytes = in.bytes(pos, std::min(length, in.size() - std::min(pos, in.size())));
    return bytes ? hex(*bytes) : std::string();
}

// The table starts with the offset of its records (32 bits) and their length (16 bits); the
// record count is the attribute section subheader's.
std::optional<Json> readArealCoverages(const Sections& sections) {
    auto bytes = sections.read(kArealCoverage);
    if (!bytes) {
        return std::nullopt;
    }
    BigEndian in(*bytes);
    auto tableOffset = in.u32(0);
    auto recordLength = in.u16(4);
    if (!tableOffset || !recordLength || *recordLength == 0) {
        return std::nullopt;
    }
    uint64_t count = (in.size() - std::min<size_t>(*tableOffset, in.size())) / *recordLength;
    if (auto header = sections.read(kAttributeHeader, 10)) {
        if (auto declared = BigEndian(*header).u16(2)) {
            count = std::min<uint64_t>(count, *declared);
        }
    }
    Json out = Json::array();
    for (uint64_t i = 0; i < count; ++i) {
        out.push_back(arealCoverage(in, *tableOffset + i * *recordLength, *recordLength));
    }
    return out;
}

void put(Json& out, const char* key, std::optional<Json> value) {
    if (value) {
        out[key] = std::move(*value);
    }
}

}  // namespace

std::vector<RpfLocation> parseRpfLocations(const std::string& bytes) {
    std::vector<RpfLocation> out;
    BigEndian in(bytes);
    auto count = in.u16(6);
    if (!count) {
        return out;
    }
    constexpr size_t kHeader = 14;
    constexpr size_t kRecord = 10;
    for (size_t i = 0; i < *count; ++i) {
        const size_t pos = kHeader + i * kRecord;
        if (!in.has(pos, kRecord)) {
            break;
        }
        out.push_back({*in.u16(pos), *in.u32(pos + 2), *in.u32(pos + 6)});
    }
    return out;
}

std::vector<RpfLocation> readRpfLocations(nitf_ImageSubheader* subheader) {
    if (subheader == nullptr) {
        return {};
    }
    std::vector<nitf_TRE*> found;
    for (nitf_Extensions* section : {subheader->userDefinedSection, subheader->extendedSection}) {
        if (section == nullptr) {
            continue;
        }
        for (nitf_ListNode* node = section->ref->first; node != nullptr; node = node->next) {
            auto* tre = static_cast<nitf_TRE*>(node->data);
            if (std::strcmp(tre->tag, "RPFIMG") == 0) {
                found.push_back(tre);
            }
        }
    }
    if (found.size() != 1) {
        return {};
    }
    nitf_Field* raw = nitf_TRE_getField(found.front(), NITF_TRE_RAW);
    if (raw == nullptr) {
        return {};
    }
    return parseRpfLocations(std::string(raw->raw, raw->length));
}

RpfByteSource rpfSourceOver(nrt_IOInterface* io) {
    return [io](uint64_t offset, size_t size, std::string& out) {
        if (io == nullptr || offset > static_cast<uint64_t>(INT64_MAX)) {
            return false;
        }
        nrt_Error error{};
        const nrt_Off fileSize = nrt_IOInterface_getSize(io, &error);
        if (fileSize < 0 || offset + size > static_cast<uint64_t>(fileSize)) {
            return false;
        }
        if (nrt_IOInterface_seek(io, static_cast<nrt_Off>(offset), NRT_SEEK_SET, &error) < 0) {
            return false;
        }
        out.resize(size);
        return static_cast<bool>(nrt_IOInterface_read(io, out.data(), size, &error));
    };
}

nlohmann::ordered_json readRpfTables(const std::vector<RpfLocation>& locations,
                                     const RpfByteSource& source) {
    const Sections sections(locations, source);
    Json out = Json::object();
    put(out, "Coverage", readCoverage(sections));
    put(out, "Attributes", readAttributes(sections));
    put(out, "ArealCoverages", readArealCoverages(sections));
    put(out, "ImageDescription", readHeader(sections, kImageDescription, kImageDescriptionFields));
    put(out, "ImageDisplayParameters",
        readHeader(sections, kImageDisplayParameters, kImageDisplayFields));
    put(out, "Compression", readCompression(sections));
    put(out, "Mask", readMask(sections));
    put(out, "Colormap", readColormap(sections));
    return out;
}

}  // namespace NITFPathInternal
