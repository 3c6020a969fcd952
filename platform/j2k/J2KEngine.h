#pragma once

#include "tessel/core/Visibility.h"
TESSEL_INTERNAL_BEGIN
// A JPEG 2000 decoding engine as the C8 tile factory sees it: a codestream opened on a
// seekable source with some resolution levels discarded, its geometry and coding parameters,
// and regions of chosen components decoded into the caller's buffers. Messages go to a
// callback that throws on errors. No type of an engine's library appears here, so that
// another engine (Kakadu, for one) can stand in for the OpenJPEG one.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace tessel_j2k {

// Bytes that an engine reads a codestream or a JP2 file from.
class Source {
public:
    virtual ~Source() = default;
    // Reads up to `size` bytes at the position and moves it on; 0 at the end or on failure.
    virtual size_t read(uint8_t* buffer, size_t size) = 0;
    virtual bool seek(uint64_t position) = 0;
    virtual uint64_t position() const = 0;
    // The number of bytes the source holds.
    virtual uint64_t length() const = 0;
};

// An engine's message: warnings return, errors (fatal) are expected to throw.
using MessageHandler = std::function<void(std::string_view text, bool fatal)>;

// A rectangle on a component's sample grid at the current resolution, in the codestream's
// absolute coordinates.
struct Rect {
    int64_t x = 0;
    int64_t y = 0;
    uint64_t width = 0;
    uint64_t height = 0;

    bool operator==(const Rect&) const = default;
};

// Where one decoded component goes: samples of `bytes` (1, 2 or 4) each, rows `rowGap`
// samples apart. Samples keep the codestream's precision; 1-byte samples are its low bits.
struct ComponentTarget {
    uint32_t component = 0;
    void* buffer = nullptr;
    uint32_t bytes = 1;
    size_t rowGap = 0;
};

struct DecodeLimits {
    uint32_t maxLayers = 0;  // 0: every quality layer
    float distortion = 0;    // 0: no distortion limit
};

class Codestream {
public:
    virtual ~Codestream() = default;

    virtual uint32_t numComponents() const = 0;
    // The component's samples at the current resolution.
    virtual Rect dims(uint32_t component) const = 0;
    virtual uint32_t bitDepth(uint32_t component) const = 0;
    virtual bool isSigned(uint32_t component) const = 0;
    // Horizontal and vertical subsampling of the component.
    virtual std::pair<uint32_t, uint32_t> subsampling(uint32_t component) const = 0;
    virtual uint32_t tilesAcross() const = 0;
    virtual uint32_t tilesDown() const = 0;
    // The tile's samples of the component at the current resolution.
    virtual Rect tileDims(uint32_t x, uint32_t y, uint32_t component) const = 0;
    // A coding parameter of the main header by its name: "Clevels", "Clayers", "Corder"
    // (0 LRCP to 4 CPRL), "Creversible", "Cuse_precincts", "Cuse_sop", "Cuse_eph", "Cycc".
    virtual std::optional<int> parameter(std::string_view name) const = 0;
    virtual uint32_t discardedLevels() const = 0;

    // Decodes `region` of component targets[0].component's grid, for every target, into the
    // targets' buffers (row 0 of the region at the start). Returns false, after the handler
    // has been told, when the codestream can't be decoded; the codestream may then be broken.
    virtual bool decode(const Rect& region, std::span<const ComponentTarget> targets,
                        const DecodeLimits& limits) = 0;
};

class Engine {
public:
    virtual ~Engine() = default;
    virtual std::string name() const = 0;
    // Whether decode honours DecodeLimits::distortion.
    virtual bool honoursDistortionLimit() const = 0;
    // Opens a raw codestream, or the codestream of a JP2 file when `jp2` (its components as
    // coded: no channel definitions or colour conversions), reading its main header. Returns
    // null, after telling the handler, when it can't be opened.
    virtual std::unique_ptr<Codestream> open(std::shared_ptr<Source> source, bool jp2,
                                             uint32_t discardLevels,
                                             MessageHandler handler) const = 0;
};

// The engine over OpenJPEG.
std::shared_ptr<const Engine> openJpegEngine();

// The engine the C8 tile factory uses.
std::shared_ptr<const Engine> defaultEngine();

}  // namespace tessel_j2k

TESSEL_INTERNAL_END
