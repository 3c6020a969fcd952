#pragma once
// Small JPEG 2000 codestreams made by OpenJPEG's encoder, and NITF files around them, for the
// C8 tests: the tiling, resolutions and sample values are the test's. Header-only.

#include <openjpeg.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "support/ImageFileBuilder.h"

namespace tessel_test {

struct CodestreamShape {
    uint32_t width = 64;
    uint32_t height = 48;
    uint32_t components = 1;
    uint32_t precision = 8;
    bool isSigned = false;
    uint32_t tileWidth = 0;  // 0: one tile
    uint32_t tileHeight = 0;
    int resolutions = 1;
    int layers = 1;
    OPJ_PROG_ORDER order = OPJ_LRCP;
    bool reversible = true;
};

// Sample (x, y) of component c, the same formula for every test.
inline int32_t j2kSample(const CodestreamShape& shape, uint32_t x, uint32_t y, uint32_t c) {
    const int32_t range = 1 << shape.precision;
    int32_t value = static_cast<int32_t>((x * 7 + y * 13 + c * 50 + (x * y) % 17) % range);
    return shape.isSigned ? value - range / 2 : value;
}

namespace detail_j2k_codestream {

inline OPJ_SIZE_T appendBytes(void* buffer, OPJ_SIZE_T size, void* user) {
    auto* out = static_cast<std::string*>(user);
    out->append(static_cast<const char*>(buffer), size);
    return size;
}
inline OPJ_OFF_T skipBytes(OPJ_OFF_T count, void* user) {
    auto* out = static_cast<std::string*>(user);
    out->append(static_cast<size_t>(count), '\0');
    return count;
}
inline OPJ_BOOL seekBytes(OPJ_OFF_T position, void* user) {
    auto* out = static_cast<std::string*>(user);
    if (static_cast<size_t>(position) > out->size()) {
        out->resize(static_cast<size_t>(position));
    }
    return OPJ_FALSE;  // the encoder seeks only for TLM and index boxes, which aren't asked for
}
inline void quiet(const char* /*message*/, void* /*client*/) {}

}  // namespace detail_j2k_codestream

// The raw codestream; empty when the encoder refuses the shape.
inline std::string encodeJ2K(const CodestreamShape& shape) {
    using namespace detail_j2k_codestream;
    std::vector<opj_image_cmptparm_t> parameters(shape.components);
    for (auto& p : parameters) {
        std::memset(&p, 0, sizeof p);
        p.dx = p.dy = 1;
        p.w = shape.width;
        p.h = shape.height;
        p.prec = shape.precision;
        p.sgnd = shape.isSigned ? 1 : 0;
    }
    opj_image_t* image =
        opj_image_create(shape.components, parameters.data(),
                         shape.components == 3 ? OPJ_CLRSPC_SRGB : OPJ_CLRSPC_GRAY);
    image->x1 = shape.width;
    image->y1 = shape.height;
    for (uint32_t c = 0; c < shape.components; ++c) {
        for (uint32_t y = 0; y < shape.height; ++y) {
            for (uint32_t x = 0; x < shape.width; ++x) {
                image->comps[c].data[y * shape.width + x] = j2kSample(shape, x, y, c);
            }
        }
    }
    opj_cparameters_t coding;
    opj_set_default_encoder_parameters(&coding);
    coding.numresolution = shape.resolutions;
    coding.prog_order = shape.order;
    coding.irreversible = shape.reversible ? 0 : 1;
    coding.tcp_numlayers = shape.layers;
    for (int layer = 0; layer < shape.layers; ++layer) {
        coding.tcp_rates[layer] = static_cast<float>(1 << (shape.layers - 1 - layer));
    }
    if (shape.layers == 1) {
        coding.tcp_rates[0] = 0;
    }
    coding.cp_disto_alloc = 1;
    if (shape.tileWidth != 0) {
        coding.tile_size_on = OPJ_TRUE;
        coding.cp_tdx = static_cast<int>(shape.tileWidth);
        coding.cp_tdy = static_cast<int>(shape.tileHeight);
    }
    std::string out;
    opj_codec_t* codec = opj_create_compress(OPJ_CODEC_J2K);
    opj_set_info_handler(codec, quiet, nullptr);
    opj_set_warning_handler(codec, quiet, nullptr);
    opj_set_error_handler(codec, quiet, nullptr);
    opj_stream_t* stream = opj_stream_create(1 << 16, OPJ_FALSE);
    opj_stream_set_user_data(stream, &out, nullptr);
    opj_stream_set_write_function(stream, appendBytes);
    opj_stream_set_skip_function(stream, skipBytes);
    opj_stream_set_seek_function(stream, seekBytes);
    const bool ok = opj_setup_encoder(codec, &coding, image) &&
                    opj_start_compress(codec, image, stream) && opj_encode(codec, stream) &&
                    opj_end_compress(codec, stream);
    opj_stream_destroy(stream);
    opj_destroy_codec(codec);
    opj_image_destroy(image);
    return ok ? out : std::string();
}

// A NITF file of one C8 image holding `codestream`, with the shape's geometry.
inline image_test::ImageLayout j2kLayout(const CodestreamShape& shape, const std::string& data,
                                         const std::string& imode = "B") {
    image_test::ImageLayout layout;
    layout.rows = shape.height;
    layout.cols = shape.width;
    layout.ic = "C8";
    layout.comrat = "N001";
    layout.imode = imode;
    layout.abpp = shape.precision;
    layout.nbpp = shape.precision <= 8 ? 8 : shape.precision <= 16 ? 16 : 32;
    layout.pvtype = shape.isSigned ? "SI" : "INT";
    layout.irep = shape.components == 3 ? "RGB" : "MONO";
    layout.bands =
        shape.components == 3
            ? std::vector<image_test::BandLayout>{image_test::band("R"), image_test::band("G"),
                                                  image_test::band("B")}
            : image_test::bands(shape.components);
    layout.data = data;
    return layout;
}

inline void writeJ2KFile(const std::filesystem::path& path, const CodestreamShape& shape,
                         const std::string& codestream, const std::string& imode = "B") {
    image_test::ImageFileBuilder().add(j2kLayout(shape, codestream, imode)).write(path);
}

// An M8 image: a block mask table (IMDATOFF, BMRLNTH 4, no pad mask) with one entry per
// block of the grid, all pointing at the start of the one codestream behind it.
inline void writeMaskedJ2KFile(const std::filesystem::path& path, const CodestreamShape& shape,
                               const std::string& codestream, uint32_t blocksPerRow = 1,
                               uint32_t blocksPerColumn = 1) {
    const uint64_t blocks = uint64_t{blocksPerRow} * blocksPerColumn;
    std::string mask = image_test::bigEndian(10 + 4 * blocks, 4) + image_test::bigEndian(4, 2) +
                       image_test::bigEndian(0, 2) + image_test::bigEndian(0, 2);
    for (uint64_t i = 0; i < blocks; ++i) {
        mask += image_test::bigEndian(0, 4);
    }
    image_test::ImageLayout layout = j2kLayout(shape, mask + codestream);
    layout.ic = "M8";
    layout.nbpr = blocksPerRow;
    layout.nbpc = blocksPerColumn;
    layout.nppbh = blocksPerRow == 1 ? 0 : shape.tileWidth;
    layout.nppbv = blocksPerColumn == 1 ? 0 : shape.tileHeight;
    image_test::ImageFileBuilder().add(layout).write(path);
}

}  // namespace tessel_test
