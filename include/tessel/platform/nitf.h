#pragma once
/* The NITF record layer: NITRO's C API (nrt_* and nitf_* names). */

#include "tessel/platform/nitf/nitf_Extensions.h"
#include "tessel/platform/nitf/nitf_Field.h"
#include "tessel/platform/nitf/nitf_PluginRegistry.h"
#include "tessel/platform/nitf/nitf_TRE.h"
#include "tessel/platform/nitf/nitf_TREPrivateData.h"
#include "tessel/platform/nitf/nitf_TREUtils.h"
#include "tessel/platform/nitf/nitf_Types.h"
#include "tessel/platform/nitf/nrt_Error.h"
#include "tessel/platform/nitf/nrt_HashTable.h"
#include "tessel/platform/nitf/nrt_IOInterface.h"
#include "tessel/platform/nitf/nrt_List.h"
#include "tessel/platform/nitf/nrt_Pair.h"
#include "tessel/platform/nitf/nrt_System.h"
#include "tessel/platform/nitf/nrt_Types.h"
