#pragma once
// The description tables of the extensions that the library defines itself, in the layout the
// basic TRE handler takes. Each table is shared by all the names its extension registers under.

#include "tessel/platform/nitf/nitf_TRE.h"

namespace Tessel::ExtensionTables {

// Band description of multi- and hyperspectral images.
extern nitf_TREDescriptionSet BANDSB;
// User-defined subheader of the attitude data extension.
extern nitf_TREDescriptionSet CSATTA;
// User-defined subheaders of the shapefile data extensions.
extern nitf_TREDescriptionSet CSSHPA;
extern nitf_TREDescriptionSet CSSHPB;
// Raster product location section and its component tables.
extern nitf_TREDescriptionSet RPFIMG;

}  // namespace Tessel::ExtensionTables
