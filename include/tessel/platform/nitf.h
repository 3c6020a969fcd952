#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* The NITF record layer: NITRO's C API (nrt_* and nitf_* names). */

#include "tessel/platform/nitf/nitf_BandInfo.h"
#include "tessel/platform/nitf/nitf_ComponentInfo.h"
#include "tessel/platform/nitf/nitf_DESubheader.h"
#include "tessel/platform/nitf/nitf_DataSource.h"
#include "tessel/platform/nitf/nitf_Extensions.h"
#include "tessel/platform/nitf/nitf_Field.h"
#include "tessel/platform/nitf/nitf_FileHeader.h"
#include "tessel/platform/nitf/nitf_FileSecurity.h"
#include "tessel/platform/nitf/nitf_GraphicSubheader.h"
#include "tessel/platform/nitf/nitf_ImageIO.h"
#include "tessel/platform/nitf/nitf_ImageSubheader.h"
#include "tessel/platform/nitf/nitf_LabelSubheader.h"
#include "tessel/platform/nitf/nitf_PluginRegistry.h"
#include "tessel/platform/nitf/nitf_RESubheader.h"
#include "tessel/platform/nitf/nitf_Reader.h"
#include "tessel/platform/nitf/nitf_Record.h"
#include "tessel/platform/nitf/nitf_Segments.h"
#include "tessel/platform/nitf/nitf_TRE.h"
#include "tessel/platform/nitf/nitf_TREPrivateData.h"
#include "tessel/platform/nitf/nitf_TREUtils.h"
#include "tessel/platform/nitf/nitf_TextSubheader.h"
#include "tessel/platform/nitf/nitf_Types.h"
#include "tessel/platform/nitf/nitf_Writer.h"
#include "tessel/platform/nitf/nrt_Error.h"
#include "tessel/platform/nitf/nrt_HashTable.h"
#include "tessel/platform/nitf/nrt_IOInterface.h"
#include "tessel/platform/nitf/nrt_List.h"
#include "tessel/platform/nitf/nrt_Pair.h"
#include "tessel/platform/nitf/nrt_System.h"
#include "tessel/platform/nitf/nrt_Types.h"

TESSEL_PUBLIC_END
