#pragma once

#include "tessel/core/Visibility.h"
TESSEL_INTERNAL_BEGIN
// The tile factory makers of the image sources, registered from one place in a fixed order
// (the codec makers first, then the uncompressed one, which accepts what they leave).

#include <memory>

#include "tessel/image/TileFactory.h"

namespace Tessel {

class NITFImage;
struct ImageOptions;

// Images with IC C8 or M8, decoded by OpenJPEG while nitf.j2k.opj.enabled is set.
std::unique_ptr<TileFactory> makeJ2KOpenJPEGTileFactory(const NITFImage* image,
                                                        const ImageOptions& options);

// Images with IC C8 or M8, decoded through the J2K engine while nitf.j2k.kdu.enabled is set.
std::unique_ptr<TileFactory> makeJ2KTileFactory(const NITFImage* image,
                                                const ImageOptions& options);

// Images with IC C3 or M3: a JPEG stream per block.
std::unique_ptr<TileFactory> makeJpegTileFactory(const NITFImage* image,
                                                 const ImageOptions& options);

// Images with IC NC or NM: uncompressed blocks, and single-block complex images.
std::unique_ptr<TileFactory> makeUncompressedTileFactory(const NITFImage* image,
                                                         const ImageOptions& options);

// Images with IC C4 or M4: vector quantised RPF frames, decoded with the frame's codebooks.
std::unique_ptr<TileFactory> makeVectorQuantisedTileFactory(const NITFImage* image,
                                                            const ImageOptions& options);

// The factory of images whose compression nothing can decode: the image's geometry, and
// blank tiles on every request.
std::unique_ptr<TileFactory> makeErrorTileFactory(const NITFImage* image);

// Registers the built-in makers, once, in their order.
void registerBuiltinTileFactories();

}  // namespace Tessel

TESSEL_INTERNAL_END
