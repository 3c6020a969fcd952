#pragma once

#include "tessel/core/Visibility.h"
TESSEL_INTERNAL_BEGIN
// The description tables of the extensions the library reads without plug-ins, one file per
// extension, and their registration with the TRE handler registry.

#include "tessel/platform/nitf/nitf_TRE.h"
#include "tessel/platform/nitf/nitf_TREUtils.h"  // NITF_TRE_LOOP_EXPRESSION

namespace tessel::tres {

// Image and file header extensions.
extern nitf_TREDescriptionSet ACFTB;
extern nitf_TREDescriptionSet AIMIDB;
extern nitf_TREDescriptionSet BLOCKA;
extern nitf_TREDescriptionSet CSCRNA;
extern nitf_TREDescriptionSet CSDIDA;
extern nitf_TREDescriptionSet CSEXRA;
extern nitf_TREDescriptionSet ENGRDA;
extern nitf_TREDescriptionSet GEOLOB;
extern nitf_TREDescriptionSet GEOPSB;
extern nitf_TREDescriptionSet HISTOA;
extern nitf_TREDescriptionSet ICHIPB;
extern nitf_TREDescriptionSet J2KLRA;
extern nitf_TREDescriptionSet MSTGTA;
extern nitf_TREDescriptionSet PIAIMC;
extern nitf_TREDescriptionSet PIAPRD;
// RPC00A and RPC00B share one layout; only the meaning of the term order differs.
extern nitf_TREDescription RPC00_description[];
extern nitf_TREDescriptionSet RPC00A;
extern nitf_TREDescriptionSet RPC00B;
extern nitf_TREDescriptionSet RPFHDR;
extern nitf_TREDescriptionSet RSMAPA;
extern nitf_TREDescriptionSet RSMDCA;
extern nitf_TREDescriptionSet RSMECA;
extern nitf_TREDescriptionSet RSMGGA;
extern nitf_TREDescriptionSet RSMGIA;
extern nitf_TREDescriptionSet RSMIDA;
extern nitf_TREDescriptionSet RSMPCA;
extern nitf_TREDescriptionSet RSMPIA;
extern nitf_TREDescriptionSet SENSRB;
extern nitf_TREDescriptionSet STDIDC;
extern nitf_TREDescriptionSet USE00A;

// User-defined subheaders of data extensions, named by their DESTAG.
extern nitf_TREDescriptionSet TRE_OVERFLOW;
extern nitf_TREDescriptionSet XML_DATA_CONTENT;

// A set and the name it is registered under.
struct NamedSet {
    const char* name;
    nitf_TREDescriptionSet* set;
};

// Every built-in set, once each.
const NamedSet* builtinSets(size_t* count);

}  // namespace tessel::tres

// Registers every built-in set with the TRE handler registry, each under its own name.
void tessel_registerBuiltinTREs(nitf_Error* error);

TESSEL_INTERNAL_END
