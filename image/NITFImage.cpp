#include "tessel/image/NITFImage.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <fmt/format.h>
#include <fmt/xchar.h>

#include "image/NITFImagePrivate.h"
#include "image/RpfLocationReader.h"
#include "tessel/core/NitroError.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFilePrivate.h"
#include "tessel/image/TileFactory.h"
#include "tessel/platform/base/nitf_fs.h"
#include "tessel/platform/base/text.h"
#include "tessel/platform/nitf/nitf_Record.h"
#include "tessel/platform/nitf/nitf_TRE.h"
#include "tessel/platform/nitf/nrt_List.h"

namespace Tessel {
namespace {

constexpr uint32_t kMaxPyramidLevels = 29;
constexpr uint32_t kColorGraySection = 134;
constexpr uint32_t kColormapSubsection = 135;
constexpr uint32_t kPaletteColors = 216;

std::string trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\v\n";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    const size_t last = text.find_last_not_of(blanks);
    return std::string(text.substr(first, last - first + 1));
}

std::string fieldText(const nitf_Field* field) {
    if (field == nullptr || field->raw == nullptr) {
        return {};
    }
    return trimmed(std::string_view(field->raw, field->length));
}

uint32_t fieldUint(nitf_Field* field) {
    if (field == nullptr) {
        return 0;
    }
    nrt_Error error{};
    uint32_t value = 0;
    if (!nitf_Field_get(field, &value, NITF_CONV_UINT, sizeof(value), &error)) {
        return 0;
    }
    return value;
}

nitf_ImageSegment* findSegment(NITFFile& file, int32_t segment) {
    nitf_Record* record = file.getPrivate()->getRecord();
    if (record == nullptr || record->images == nullptr || segment < 0) {
        return nullptr;
    }
    int32_t index = 0;
    for (nitf_ListNode* node = record->images->first; node != nullptr; node = node->next) {
        if (index++ == segment) {
            return static_cast<nitf_ImageSegment*>(node->data);
        }
    }
    return nullptr;
}

// The RPFIMG extensions of the subheader, from both of its extension sections.
std::vector<nitf_TRE*> findRpfImg(nitf_ImageSubheader* subheader) {
    std::vector<nitf_TRE*> found;
    for (nitf_Extensions* section : {subheader->userDefinedSection, subheader->extendedSection}) {
        if (section == nullptr || section->ref == nullptr) {
            continue;
        }
        for (nitf_ListNode* node = section->ref->first; node != nullptr; node = node->next) {
            auto* tre = static_cast<nitf_TRE*>(node->data);
            if (tre != nullptr && std::strcmp(tre->tag, "RPFIMG") == 0) {
                found.push_back(tre);
            }
        }
    }
    return found;
}

std::vector<LocationTable> loadLocationTables(NITFFile& file, nitf_ImageSubheader* subheader,
                                              NITFMessages& messages) {
    const std::vector<nitf_TRE*> found = findRpfImg(subheader);
    if (found.size() != 1) {
        return {};
    }
    // A TRE without a definition holds its bytes as "raw_data"; a defined one builds the same
    // bytes, in file order, at each request, so images of one file take turns here.
    const auto lock = file.getPrivate()->lockIO();
    nitf_Field* raw = nitf_TRE_getField(found.front(), NITF_TRE_RAW);
    if (raw == nullptr || raw->raw == nullptr) {
        constexpr const char* kMissing = "Loading RPFIMG: Unable to get TRE";
        nrt_Error error{};
        checkNitroError(error, messages, {}, false);
        messages.push_back(kMissing);
        throw std::runtime_error(kMissing);
    }
    return parseLocationSection(reinterpret_cast<const uint8_t*>(raw->raw), raw->length);
}

// One colour offset record of the colormap subsection.
struct ColorOffsetRecord {
    uint16_t tableId = 0;
    uint32_t records = 0;
    uint8_t elementLength = 0;
    uint16_t histogramRecordLength = 0;
    uint32_t tableOffset = 0;
    uint32_t histogramOffset = 0;
};

ColorMap readColorTable(RpfLocationReader& colormap, const ColorOffsetRecord& record) {
    const size_t at = record.tableOffset;
    switch (record.tableId) {
        case 1: {
            const uint8_t* bytes = colormap.bytes(at, size_t{record.records} * 3);
            std::vector<std::array<uint8_t, 3>> table(record.records);
            std::memcpy(table.data(), bytes, table.size() * 3);
            return table;
        }
        case 2: {
            const uint8_t* bytes = colormap.bytes(at, size_t{record.records} * 4);
            std::vector<std::array<uint8_t, 4>> table(record.records);
            std::memcpy(table.data(), bytes, table.size() * 4);
            return table;
        }
        case 3: {
            const uint8_t* bytes = colormap.bytes(at, record.records);
            return std::vector<uint8_t>(bytes, bytes + record.records);
        }
        default:
            return {};
    }
}

// The colour table of 216 entries of an RPF frame, if it has one.
ColorMap loadRpfColorMap(const std::vector<LocationTable>& tables,
                         const std::shared_ptr<NITFFile>& file, NITFMessages& messages) {
    RpfLocationReader colorGray(tables, kColorGraySection, file, messages);
    if (!colorGray) {
        return {};
    }
    RpfLocationReader colormap(tables, kColormapSubsection, file, messages);
    const uint8_t offsetRecords = colorGray.u8(0);
    if (offsetRecords == 0 || !colormap) {
        return {};
    }
    const uint32_t offsetTable = colormap.u32(0);
    constexpr size_t kRecordSize = 17;
    ColorMap chosen;
    bool found = false;
    for (size_t i = 0; i < offsetRecords; ++i) {
        const size_t at = offsetTable + i * kRecordSize;
        ColorOffsetRecord record{colormap.u16(at),     colormap.u32(at + 2), colormap.u8(at + 6),
                                 colormap.u16(at + 7), colormap.u32(at + 9), colormap.u32(at + 13)};
        ColorMap table = readColorTable(colormap, record);
        // The histogram counts come with each table; nothing here uses them.
        colormap.bytes(record.histogramOffset, static_cast<size_t>(record.records) * 4);
        if (!found && record.records == kPaletteColors) {
            chosen = std::move(table);
            found = true;
        }
    }
    return chosen;
}

// The look-up tables of the bands, when the subheader has any.
std::vector<ColorMap> loadSubheaderLUTs(nitf_ImageSubheader* subheader, NITFMessages& messages) {
    std::vector<ColorMap> maps;
    nrt_Error countError{};
    uint32_t bands = nitf_ImageSubheader_getBandCount(subheader, &countError);
    if (bands == NITF_INVALID_BAND_COUNT) {
        bands = 0;
    }
    for (uint32_t band = 0; band < bands; ++band) {
        nrt_Error error{};
        nitf_BandInfo* info = nitf_ImageSubheader_getBandInfo(subheader, band, &error);
        if (checkNitroError(error, messages, {}, false) || info == nullptr) {
            break;
        }
        const uint32_t luts = fieldUint(info->numLUTs);
        const nitf_LookupTable* lut = info->lut;
        if (lut == nullptr || luts == 0 || lut->table == nullptr) {
            continue;
        }
        if (luts > 3) {
            messages.push_back("Unsupported NLUTS==%1%");
            break;
        }
        const uint32_t entries = lut->entries;
        if (lut->tables < luts) {
            continue;  // the table holds fewer LUTs than the band announces
        }
        const uint8_t* data = lut->table;
        ColorMap map;
        if (luts == 1) {
            map = std::vector<uint8_t>(data, data + entries);
        } else if (luts == 2) {
            // The second LUT is the map; the first is dropped.
            map = std::vector<uint8_t>(data + entries, data + size_t{2} * entries);
        } else {
            std::vector<std::array<uint8_t, 3>> rgb(entries);
            for (uint32_t i = 0; i < entries; ++i) {
                rgb[i] = {data[i], data[entries + i], data[2 * entries + i]};
            }
            map = std::move(rgb);
        }
        if (maps.empty()) {
            maps.resize(bands);
        }
        maps[band] = std::move(map);
    }
    return maps;
}

// An overview file beside the file at `uri` for `level`: "a.ntf.r1", "a.ntf.rv1", and for an
// extension that ends in "0" also "a.r1".
std::vector<NITFURI> overviewCandidates(const NITFURI& uri, uint32_t level) {
    const std::wstring extension(uri.extension());
    std::vector<std::wstring> extensions{fmt::format(L"{}.r{}", extension, level),
                                         fmt::format(L"{}.rv{}", extension, level)};
    if (!extension.empty() && extension.back() == L'0') {
        extensions.push_back(fmt::format(L".r{}", level));
    }
    std::vector<NITFURI> candidates;
    for (const auto& candidateExtension : extensions) {
        NITFURI candidate = uri;
        candidate.extension(candidateExtension);
        candidates.push_back(std::move(candidate));
    }
    return candidates;
}

// The RPF palette of 216 colours for every band; else the subheader's look-up tables.
void loadColorMaps(NITFImagePrivate& d, const NITFImage& image, nitf_ImageSubheader* subheader,
                   NITFMessages& messages) {
    const ColorMap palette = loadRpfColorMap(d.locationTables, d.file.lock(), messages);
    if (!std::holds_alternative<std::monostate>(palette)) {
        d.colorMaps.assign(image.getNumBands(), palette);
    }
    if (d.colorMaps.empty()) {
        d.colorMaps = loadSubheaderLUTs(subheader, messages);
    }
}

// Probes levels 1 to 29 and stops after the second one that isn't there. One gap stays as
// an empty element; the list ends at the last level found.
void discoverPyramidLevels(NITFImagePrivate& d, const NITFImage& image) {
    uint32_t misses = 0;
    size_t lastFound = 0;
    for (uint32_t level = 1; level <= kMaxPyramidLevels; ++level) {
        std::shared_ptr<NITFImage> found = image.openPyramidLevel(level);
        d.levels.push_back(found);
        if (found) {
            lastFound = level;
        } else if (++misses == 2) {
            break;
        }
    }
    if (misses > 0) {
        d.levels.resize(lastFound);
    }
}

}  // namespace

eCompressionType imageCompressionFromIC(std::string_view code) {
    if (code.size() != 2) {
        return eCompressionUnknown;
    }
    const std::string upper{static_cast<char>(std::toupper(static_cast<unsigned char>(code[0]))),
                            static_cast<char>(std::toupper(static_cast<unsigned char>(code[1])))};
    static constexpr std::array<std::pair<std::string_view, eCompressionType>, 11> kKnown{{
        {"NC", eCompressionNC},
        {"NM", eCompressionNM},
        {"C1", eCompressionC1},
        {"M1", eCompressionM1},
        {"C3", eCompressionC3},
        {"M3", eCompressionM3},
        {"C4", eCompressionC4},
        {"M4", eCompressionM4},
        {"C8", eCompressionC8},
        {"M8", eCompressionM8},
        {"I1", eCompressionI1},
    }};
    for (const auto& [text, type] : kKnown) {
        if (upper == text) {
            return type;
        }
    }
    return eCompressionUnknown;
}

uint32_t halvingsForFactor(double factor) {
    if (!std::isfinite(factor)) {
        return 0;  // an empty output: nothing to choose
    }
    uint32_t count = 0;
    double f = factor;
    while (f > 2.0) {
        f /= 2.0;
        ++count;
    }
    if (f - 1.0 > 0.5) {
        ++count;
    }
    return count;
}

NITFImage::NITFImage(const std::shared_ptr<NITFFile>& file, const ImageOptions& options,
                     NITFMessages& messages)
    : options_(options), d_(std::make_unique<NITFImagePrivate>()) {
    d_->file = file;
    if (!file) {
        throw std::runtime_error("Missing Image");
    }
    {
        const auto lock = file->getPrivate()->lockRecord();
        nitf_ImageSegment* segment = findSegment(*file, options_.segment);
        if (segment == nullptr || segment->subheader == nullptr) {
            throw std::runtime_error("Missing Image");
        }
        nrt_Error error{};
        if (checkNitroError(error, messages, {}, false)) {
            throw std::runtime_error("Cannot Construct Image Segment.");
        }
        nitf_ImageSubheader* subheader = segment->subheader;

        d_->locationTables = loadLocationTables(*file, subheader, messages);
        d_->imageCategory = fieldText(subheader->imageCategory);
        d_->imageRepresentation = fieldText(subheader->imageRepresentation);
        d_->compressionType = imageCompressionFromIC(fieldText(subheader->imageCompression));

        d_->tileFactory = makeTileFactory(this, options_);

        d_->actualBitsPerPixel = fieldUint(subheader->actualBitsPerPixel);
        d_->acquisitionDate = nitf_date::parse(fieldText(subheader->imageDateAndTime));
        const uint32_t storageBits = d_->tileFactory->getBitsPerPixel();
        if (d_->actualBitsPerPixel == 0 || d_->actualBitsPerPixel > storageBits) {
            d_->actualBitsPerPixel = storageBits;
        }

        nrt_Error bandError{};
        nitf_BandInfo* firstBand = nitf_ImageSubheader_getBandInfo(subheader, 0, &bandError);
        d_->firstBandRepresentation =
            firstBand != nullptr ? fieldText(firstBand->representation) : std::string();
        d_->colorInterpretation =
            ToColorInterpretation(d_->firstBandRepresentation, d_->imageRepresentation);

        loadColorMaps(*d_, *this, subheader, messages);
    }
    if (options_.level == 0) {
        discoverPyramidLevels(*d_, *this);
    }
}

NITFImage::~NITFImage() {
    // A region read that failed early may leave loads of this image queued: they must be
    // over, or turned away, before the decoder goes.
    if (d_ && d_->tileFactory) {
        d_->tileFactory->closeLoads();
    }
}

std::shared_ptr<NITFImage> NITFImage::openPyramidLevel(uint32_t level) const {
    const std::shared_ptr<NITFFile> file = d_->file.lock();
    if (!file) {
        return {};
    }
    if (d_->tileFactory->hasInternalLevel(level)) {
        ImageOptions options = options_;
        options.level = static_cast<int32_t>(level);
        NITFMessages messages;
        return file->getPrivate()->getImage(file, options, messages);
    }
    const NITFURI& uri = file->getPrivate()->getURI();
    if (!nitf_fs::is_regular_file(uri.nativePath())) {
        return {};
    }
    for (const NITFURI& candidate : overviewCandidates(uri, level)) {
        if (!nitf_fs::is_regular_file(candidate.nativePath())) {
            continue;
        }
        NITFMessages messages;
        NITFFileContext context = NITFFactory::get().open(candidate, messages);
        if (!context) {
            continue;
        }
        std::shared_ptr<NITFFile> overviewFile = context.getFile().shared_from_this();
        ImageOptions options = options_;
        options.segment = 0;
        options.level = static_cast<int32_t>(level);
        std::shared_ptr<NITFImage> image;
        try {
            image = overviewFile->getImage(options);
        } catch (const std::exception&) {
            image.reset();  // an overview that can't be read is skipped like a missing one
        }
        if (image) {
            const std::lock_guard lock(d_->externalOverviewsMutex);
            d_->externalOverviews.emplace_back(overviewFile, image);
            return image;
        }
    }
    return {};
}

std::vector<std::filesystem::path> NITFImage::getFiles() const {
    std::vector<std::filesystem::path> files;
    auto add = [&files](const std::filesystem::path& path) {
        if (std::find(files.begin(), files.end(), path) == files.end()) {
            files.push_back(path);
        }
    };
    if (const auto file = d_->file.lock()) {
        add(file->getPrivate()->getURI().nativePath());
    }
    for (const auto& level : d_->levels) {
        if (!level) {
            continue;
        }
        if (const auto levelFile = level->getNITFFile()) {
            add(levelFile->getPrivate()->getURI().nativePath());
        }
    }
    return files;
}

// The pixel grid, as the factory has it.
uint32_t NITFImage::getWidth() const {
    return static_cast<uint32_t>(d_->tileFactory->getWidth());
}
uint32_t NITFImage::getHeight() const {
    return static_cast<uint32_t>(d_->tileFactory->getHeight());
}
uint32_t NITFImage::getNumBands() const {
    return d_->tileFactory->getNumBands();
}
uint32_t NITFImage::getBlocksX() const {
    return d_->tileFactory->getBlocksX();
}
uint32_t NITFImage::getBlocksY() const {
    return d_->tileFactory->getBlocksY();
}
uint32_t NITFImage::getBlockWidth() const {
    return d_->tileFactory->getBlockWidth();
}
uint32_t NITFImage::getBlockHeight() const {
    return d_->tileFactory->getBlockHeight();
}
uint32_t NITFImage::getBitsPerPixel() const {
    return d_->tileFactory->getBitsPerPixel();
}
uint32_t NITFImage::getBytesPerPixel() const {
    return d_->tileFactory->getBytesPerPixel();
}
lumo_pixel::type NITFImage::getPixelType() const {
    return d_->tileFactory->getPixelType();
}
lumo_pixel::pixel NITFImage::getNoData() const {
    if (!d_->tileFactory) {
        return lumo_pixel::pixel::none();
    }
    return d_->tileFactory->getNoData();
}
std::map<std::string, std::string> NITFImage::getCompressionInfo() const {
    return d_->tileFactory->getCompressionInfo();
}

uint32_t NITFImage::getActualBitsPerPixel() const {
    return d_->actualBitsPerPixel;
}
int NITFImage::getCurrentImageSegment() const {
    return options_.segment;
}
nitf_date NITFImage::getAcquisitionDate() const {
    return d_->acquisitionDate;
}
std::string NITFImage::getImageCategory() const {
    return d_->imageCategory;
}
std::string NITFImage::getImageRepresentation() const {
    return d_->imageRepresentation;
}
eCompressionType NITFImage::getCompressionType() const {
    return d_->compressionType;
}
eColorInterpretation NITFImage::getColorInterpretation() const {
    return d_->colorInterpretation;
}
const std::vector<LocationTable>& NITFImage::getLocationTables() const {
    return d_->locationTables;
}

const ColorMap& NITFImage::getColorMap(uint32_t band) const {
    static const ColorMap empty;
    if (band > getNumBands() || band >= d_->colorMaps.size()) {
        return empty;
    }
    return d_->colorMaps[band];
}

const ImageOptions& NITFImage::getOptions() const {
    return options_;
}
std::shared_ptr<NITFFile> NITFImage::getNITFFile() const {
    return d_->file.lock();
}
const TileFactory* NITFImage::getTileFactory() const {
    return d_->tileFactory.get();
}

uint16_t NITFImage::getInternalPyramidLevels() const {
    return static_cast<uint16_t>(d_->levels.size());
}

std::shared_ptr<NITFImage> NITFImage::getPyramidLevel(uint32_t level) const {
    if (level == 0 || level > d_->levels.size()) {
        return {};
    }
    return d_->levels[level - 1];
}

}  // namespace Tessel

// Path operations: the file answers, with this image's segment as the image index.
namespace Tessel {

std::string NITFImage::getISD(const std::string_view& format) const {
    const auto file = d_->file.lock();
    return file ? file->getISD(format) : std::string();
}

bool NITFImage::setISD(const std::string_view& text, NITFMessages& messages) {
    const auto file = d_->file.lock();
    return file && file->setISD(text, messages);
}

any_type::value NITFImage::getPath(const std::string_view& path) const {
    const auto file = d_->file.lock();
    return file ? file->getPath(options_.segment, path) : any_type::value();
}

any_type::value NITFImage::getPath(const std::string_view& path,
                                   const any_type::value& fallback) const {
    const auto file = d_->file.lock();
    return file ? file->getPath(options_.segment, path, fallback) : fallback;
}

std::string NITFImage::getPathString(const std::string_view& path,
                                     const std::string& fallback) const {
    const auto file = d_->file.lock();
    return file ? file->getPathString(options_.segment, path, fallback) : fallback;
}

int64_t NITFImage::getPathInt(const std::string_view& path, int64_t fallback) const {
    const auto file = d_->file.lock();
    return file ? file->getPathInt(options_.segment, path, fallback) : fallback;
}

double NITFImage::getPathDouble(const std::string_view& path, double fallback) const {
    const auto file = d_->file.lock();
    return file ? file->getPathDouble(options_.segment, path, fallback) : fallback;
}

bool NITFImage::setPath(const std::string_view& path, const std::string& value,
                        NITFMessages& messages) const {
    const auto file = d_->file.lock();
    return file && file->setPath(options_.segment, path, value, messages);
}

bool NITFImage::setPathAsString(const std::string_view& path, const std::string& value,
                                NITFMessages& messages) const {
    const auto file = d_->file.lock();
    return file && file->setPathAsString(options_.segment, path, value, messages);
}

}  // namespace Tessel
