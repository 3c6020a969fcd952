#include "tessel/image/TileFactory.h"

#include <cmath>
#include <cstring>
#include <mutex>
#include <nlohmann/json.hpp>
#include <utility>

#include "image/TileMakers.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/image/TilePool.h"
#include "tessel/platform/base/versions.h"

namespace Tessel {

namespace {

// Guards the lazily made blank and error tiles of every factory.
std::mutex& tileFactoryMutex() {
    static std::mutex mutex;
    return mutex;
}

struct MakerEntry {
    std::string name;
    TileFactoryMaker maker;
};

// The makers in registration order. The built-in ones enter first, in their fixed order,
// whichever translation unit asks first during static initialisation.
std::vector<MakerEntry>& makerList() {
    static std::vector<MakerEntry> makers;
    return makers;
}

std::mutex& makerListMutex() {
    static std::mutex mutex;
    return mutex;
}

void ensureBuiltins() {
    static std::once_flag once;
    std::call_once(once, [] { registerBuiltinTileFactories(); });
}

std::vector<MakerEntry> makersInOrder() {
    ensureBuiltins();
    std::lock_guard lock(makerListMutex());
    return makerList();
}

// Every byte of `buffer` from the NoData pixel, where a byte fill is defined for its type.
void fillFromNoData(uint8_t* buffer, uint64_t bytes, const lumo_pixel::pixel& noData) {
    const bool wide = noData.bits == 32 || noData.bits == 64;
    switch (noData.pixelType) {
        case lumo_pixel::unsigned_integer:
        case lumo_pixel::signed_integer:
            if (noData.bits == 8 || noData.bits == 16 || wide) {
                std::memset(buffer, static_cast<uint8_t>(noData.value & 0xFF), bytes);
            }
            break;
        case lumo_pixel::bilevel:
            std::memset(buffer, static_cast<uint8_t>(noData.value & 0xFF), bytes);
            break;
        case lumo_pixel::real:
            if (wide) {
                const double value = noData.asDouble();
                const int64_t whole = std::isfinite(value) && std::abs(value) < 9.2e18
                                          ? static_cast<int64_t>(value)
                                          : 0;
                std::memset(buffer, static_cast<uint8_t>(static_cast<uint64_t>(whole) & 0xFF),
                            bytes);
            }
            break;
        case lumo_pixel::complex_integer:
        case lumo_pixel::complex_float:
            if (wide) {
                std::memset(buffer, 0, bytes);
            }
            break;
        default:
            // No NoData: the content is not defined, and it is cleared so that no byte of
            // an earlier buffer reaches a reader.
            std::memset(buffer, 0, bytes);
            break;
    }
}

const bool codecListingRegistered = [] {
    registerVersionCB(
        "nitf-codecs", "List Registered NITF CODECs",
        [](const std::map<std::string, std::string>& /*options*/, nlohmann::ordered_json& out) {
            NITFFactory::get();
            out = nlohmann::ordered_json::array();
            for (const std::string& name : registeredTileFactories()) {
                out.push_back(name);
            }
        });
    return true;
}();

}  // namespace

TileFactory::~TileFactory() {
    // Owners close the gate while the whole factory stands; this is the last stop for
    // queued loads of a factory nobody closed.
    loadGate_->close();
    try {
        TilePool::get()->clearCache(this);
    } catch (...) {
        // A factory that goes while the process ends must not throw.
    }
    blank_.reset();
    error_.reset();
}

TileGroup TileFactory::requestTiles(const tile_id& id) const {
    if (id.x < getBlocksX() && id.y < getBlocksY() && id.band < getNumBands()) {
        return createTiles(id);
    }
    return TileGroup{{id, blankTile()}};
}

std::shared_ptr<Tile> TileFactory::blankTile() const {
    std::lock_guard lock(tileFactoryMutex());
    if (!blank_) {
        auto tile = std::make_shared<Tile_Dummy>(tile_id{this, 0, 0, 0});
        fillFromNoData(tile->allocateBuffer(), getBlockBytes(), getNoData());
        blank_ = std::move(tile);
    }
    return blank_;
}

std::shared_ptr<Tile> TileFactory::errorTile() const {
    std::lock_guard lock(tileFactoryMutex());
    if (!error_) {
        auto tile = std::make_shared<Tile_Dummy>(tile_id{this, 0, 0, 0});
        tile->markFailed();
        error_ = std::move(tile);
    }
    return error_;
}

void registerTileFactory(std::string_view name, TileFactoryMaker maker) {
    ensureBuiltins();
    std::lock_guard lock(makerListMutex());
    makerList().push_back({std::string(name), std::move(maker)});
}

std::vector<std::string> registeredTileFactories() {
    std::vector<std::string> names;
    for (const MakerEntry& entry : makersInOrder()) {
        names.push_back(entry.name);
    }
    return names;
}

std::unique_ptr<TileFactory> makeTileFactory(const NITFImage* image, const ImageOptions& options) {
    for (const MakerEntry& entry : makersInOrder()) {
        if (auto factory = entry.maker(image, options)) {
            return factory;
        }
    }
    return makeErrorTileFactory(image);
}

void registerBuiltinTileFactories() {
    // Called once, before any other registration; appends without the public entry, which
    // would wait for this very call.
    std::lock_guard lock(makerListMutex());
    makerList().push_back(
        {"C8_M8_J2K_OpenJPEG_(nitf.j2k.opj.enabled)", makeJ2KOpenJPEGTileFactory});
    makerList().push_back({"C3_M3_JPEG", makeJpegTileFactory});
    makerList().push_back({"C4_M4_VQ", makeVectorQuantisedTileFactory});
    makerList().push_back({"C8_M8_J2K_Kakadu_(nitf.j2k.kdu.enabled)", makeJ2KTileFactory});
    makerList().push_back({"NC_MC_NoCompression", makeUncompressedTileFactory});
}

}  // namespace Tessel
