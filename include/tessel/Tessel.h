#pragma once
// Everything a host needs from TesselLib in one include.

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFType.h"
#include "tessel/core/NitroError.h"
#include "tessel/core/TextForms.h"
#include "tessel/core/any_type.h"
#include "tessel/core/eColorInterpretation.h"
#include "tessel/core/eCompressionType.h"
#include "tessel/platform/base/nitf_date.h"
#include "tessel/platform/base/text.h"
#include "tessel/platform/nitf/nrt_Error.h"
