// Construction, copying and destruction of the security group, the file header and the
// subheaders.

#include <cstdlib>
#include <cstring>

#include "platform/nitf/FieldTable.h"
#include "platform/nitf/Internal.h"
#include "tessel/platform/nitf/nitf_Segments.h"

using tessel_nitf::cloneFields;
using tessel_nitf::constructFields;
using tessel_nitf::destroyFields;
using tessel_nitf::FieldTable;

namespace {

template <typename T>
T* allocate(nitf_Error* error) {
    auto* object = static_cast<T*>(std::calloc(1, sizeof(T)));
    if (object == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
    }
    return object;
}

const FieldTable& securityFields() {
    static const FieldTable table = {
        TESSEL_FIELD(nitf_FileSecurity, classificationSystem, NITF_CLSY_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileSecurity, codewords, NITF_CODE_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileSecurity, controlAndHandling, NITF_CTLH_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileSecurity, releasingInstructions, NITF_REL_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileSecurity, declassificationType, NITF_DCTP_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileSecurity, declassificationDate, NITF_DCDT_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileSecurity, declassificationExemption, NITF_DCXM_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileSecurity, downgrade, NITF_DG_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileSecurity, downgradeDateTime, NITF_DGDT_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileSecurity, classificationText, NITF_CLTX_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileSecurity, classificationAuthorityType, NITF_CATP_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileSecurity, classificationAuthority, NITF_CAUT_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileSecurity, classificationReason, NITF_CRSN_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileSecurity, securitySourceDate, NITF_RDT_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileSecurity, securityControlNumber, NITF_CTLN_SZ, NITF_BCS_A),
    };
    return table;
}

const FieldTable& fileHeaderFields() {
    static const FieldTable table = {
        TESSEL_FIELD(nitf_FileHeader, fileHeader, NITF_FHDR_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileHeader, fileVersion, NITF_FVER_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileHeader, complianceLevel, NITF_CLEVEL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_FileHeader, systemType, NITF_STYPE_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileHeader, originStationID, NITF_OSTAID_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileHeader, fileDateTime, NITF_FDT_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileHeader, fileTitle, NITF_FTITLE_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileHeader, classification, NITF_FSCLAS_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileHeader, messageCopyNum, NITF_FSCOP_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_FileHeader, messageNumCopies, NITF_FSCPYS_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_FileHeader, encrypted, NITF_ENCRYP_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_FileHeader, backgroundColor, NITF_FBKGC_SZ, NITF_BINARY),
        TESSEL_FIELD(nitf_FileHeader, originatorName, NITF_ONAME_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileHeader, originatorPhone, NITF_OPHONE_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_FileHeader, fileLength, NITF_FL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_FileHeader, headerLength, NITF_HL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_FileHeader, numImages, NITF_NUMI_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_FileHeader, numGraphics, NITF_NUMS_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_FileHeader, numLabels, NITF_NUMX_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_FileHeader, numTexts, NITF_NUMT_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_FileHeader, numDataExtensions, NITF_NUMDES_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_FileHeader, numReservedExtensions, NITF_NUMRES_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_FileHeader, userDefinedHeaderLength, NITF_UDHDL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_FileHeader, userDefinedOverflow, NITF_UDHOFL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_FileHeader, extendedHeaderLength, NITF_XHDL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_FileHeader, extendedHeaderOverflow, NITF_XHDLOFL_SZ, NITF_BCS_N),
    };
    return table;
}

const FieldTable& imageFields() {
    static const FieldTable table = {
        TESSEL_FIELD(nitf_ImageSubheader, filePartType, NITF_IM_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, imageId, NITF_IID1_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, imageDateAndTime, NITF_IDATIM_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, targetId, NITF_TGTID_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, imageTitle, NITF_IID2_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, imageSecurityClass, NITF_ISCLAS_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, encrypted, NITF_ENCRYP_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, imageSource, NITF_ISORCE_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, numRows, NITF_NROWS_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, numCols, NITF_NCOLS_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, pixelValueType, NITF_PVTYPE_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, imageRepresentation, NITF_IREP_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, imageCategory, NITF_ICAT_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, actualBitsPerPixel, NITF_ABPP_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, pixelJustification, NITF_PJUST_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, imageCoordinateSystem, NITF_ICORDS_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, cornerCoordinates, NITF_IGEOLO_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, numImageComments, NITF_NICOM_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, imageCompression, NITF_IC_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, compressionRate, NITF_COMRAT_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, numImageBands, NITF_NBANDS_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, numMultispectralImageBands, NITF_XBANDS_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, imageSyncCode, NITF_ISYNC_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, imageMode, NITF_IMODE_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, numBlocksPerRow, NITF_NBPR_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, numBlocksPerCol, NITF_NBPC_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, numPixelsPerHorizBlock, NITF_NPPBH_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, numPixelsPerVertBlock, NITF_NPPBV_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, numBitsPerPixel, NITF_NBPP_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, imageDisplayLevel, NITF_IDLVL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, imageAttachmentLevel, NITF_IALVL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, imageLocation, NITF_ILOC_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, imageMagnification, NITF_IMAG_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_ImageSubheader, userDefinedImageDataLength, NITF_UDIDL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, userDefinedOverflow, NITF_UDOFL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, extendedHeaderLength, NITF_IXSHDL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_ImageSubheader, extendedHeaderOverflow, NITF_IXSOFL_SZ, NITF_BCS_N),
    };
    return table;
}

const FieldTable& bandFields() {
    static const FieldTable table = {
        TESSEL_FIELD(nitf_BandInfo, representation, NITF_IREPBAND_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_BandInfo, subcategory, NITF_ISUBCAT_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_BandInfo, imageFilterCondition, NITF_IFC_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_BandInfo, imageFilterCode, NITF_IMFLT_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_BandInfo, numLUTs, NITF_NLUTS_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_BandInfo, bandEntriesPerLUT, NITF_NELUT_SZ, NITF_BCS_N),
    };
    return table;
}

const FieldTable& graphicFields() {
    static const FieldTable table = {
        TESSEL_FIELD(nitf_GraphicSubheader, filePartType, NITF_SY_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_GraphicSubheader, graphicID, NITF_SID_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_GraphicSubheader, name, NITF_SNAME_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_GraphicSubheader, securityClass, NITF_SSCLAS_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_GraphicSubheader, encrypted, NITF_ENCRYP_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_GraphicSubheader, stype, NITF_SFMT_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_GraphicSubheader, res1, NITF_SSTRUCT_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_GraphicSubheader, displayLevel, NITF_SDLVL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_GraphicSubheader, attachmentLevel, NITF_SALVL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_GraphicSubheader, location, NITF_SLOC_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_GraphicSubheader, bound1Loc, NITF_SBND1_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_GraphicSubheader, color, NITF_SCOLOR_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_GraphicSubheader, bound2Loc, NITF_SBND2_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_GraphicSubheader, res2, NITF_SRES2_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_GraphicSubheader, extendedHeaderLength, NITF_SXSHDL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_GraphicSubheader, extendedHeaderOverflow, NITF_SXSOFL_SZ, NITF_BCS_N),
    };
    return table;
}

const FieldTable& symbolFields() {
    static const FieldTable table = {
        TESSEL_FIELD(nitf_GraphicSubheader, numLinesPerSymbol, NITF_NLIPS_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_GraphicSubheader, numPixelsPerLine, NITF_NPIXPL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_GraphicSubheader, lineWidth, NITF_NWDTH_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_GraphicSubheader, numBitsPerPixel, NITF_SYNBPP_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_GraphicSubheader, location2, NITF_SLOC2_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_GraphicSubheader, symbolNumber, NITF_SNUM_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_GraphicSubheader, rotation, NITF_SROT_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_GraphicSubheader, numLUTEntries, NITF_SYNELUT_SZ, NITF_BCS_N),
    };
    return table;
}

const FieldTable& labelFields() {
    static const FieldTable table = {
        TESSEL_FIELD(nitf_LabelSubheader, filePartType, NITF_LA_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_LabelSubheader, labelID, NITF_LID_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_LabelSubheader, securityClass, NITF_LSCLAS_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_LabelSubheader, encrypted, NITF_ENCRYP_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_LabelSubheader, fontStyle, NITF_LFS_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_LabelSubheader, cellWidth, NITF_LCW_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_LabelSubheader, cellHeight, NITF_LCH_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_LabelSubheader, displayLevel, NITF_LDLVL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_LabelSubheader, attachmentLevel, NITF_LALVL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_LabelSubheader, locationRow, NITF_LLOCR_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_LabelSubheader, locationColumn, NITF_LLOCC_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_LabelSubheader, textColor, NITF_LTC_SZ, NITF_BINARY),
        TESSEL_FIELD(nitf_LabelSubheader, backgroundColor, NITF_LBC_SZ, NITF_BINARY),
        TESSEL_FIELD(nitf_LabelSubheader, extendedHeaderLength, NITF_LXSHDL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_LabelSubheader, extendedHeaderOverflow, NITF_LXSOFL_SZ, NITF_BCS_N),
    };
    return table;
}

const FieldTable& textFields() {
    static const FieldTable table = {
        TESSEL_FIELD(nitf_TextSubheader, filePartType, NITF_TE_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_TextSubheader, textID, NITF_TEXTID_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_TextSubheader, attachmentLevel, NITF_TXTALVL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_TextSubheader, dateTime, NITF_TXTDT_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_TextSubheader, title, NITF_TXTITL_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_TextSubheader, securityClass, NITF_TSCLAS_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_TextSubheader, encrypted, NITF_ENCRYP_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_TextSubheader, format, NITF_TXTFMT_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_TextSubheader, extendedHeaderLength, NITF_TXSHDL_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_TextSubheader, extendedHeaderOverflow, NITF_TXSOFL_SZ, NITF_BCS_N),
    };
    return table;
}

const FieldTable& dataExtensionFields() {
    static const FieldTable table = {
        TESSEL_FIELD(nitf_DESubheader, filePartType, NITF_DE_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_DESubheader, typeID, NITF_DESTAG_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_DESubheader, version, NITF_DESVER_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_DESubheader, securityClass, NITF_DESCLAS_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_DESubheader, overflowedHeaderType, NITF_DESOFLW_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_DESubheader, dataItemOverflowed, NITF_DESITEM_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_DESubheader, subheaderFieldsLength, NITF_DESSHL_SZ, NITF_BCS_N),
    };
    return table;
}

const FieldTable& reservedExtensionFields() {
    static const FieldTable table = {
        TESSEL_FIELD(nitf_RESubheader, filePartType, NITF_RE_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_RESubheader, typeID, NITF_RESTAG_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_RESubheader, version, NITF_RESVER_SZ, NITF_BCS_N),
        TESSEL_FIELD(nitf_RESubheader, securityClass, NITF_RESCLAS_SZ, NITF_BCS_A),
        TESSEL_FIELD(nitf_RESubheader, subheaderFieldsLength, NITF_RESSHL_SZ, NITF_BCS_N),
    };
    return table;
}

void destroyComponents(nitf_ComponentInfo**& infos, uint32_t count) {
    if (infos == nullptr) {
        return;
    }
    for (uint32_t i = 0; i < count; ++i) {
        nitf_ComponentInfo_destruct(&infos[i]);
    }
    std::free(infos);
    infos = nullptr;
}

bool cloneComponents(nitf_ComponentInfo**& target, nitf_ComponentInfo** source, uint32_t count,
                     nitf_Error* error) {
    if (source == nullptr || count == 0) {
        return true;
    }
    target = static_cast<nitf_ComponentInfo**>(std::calloc(count, sizeof(nitf_ComponentInfo*)));
    if (target == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return false;
    }
    for (uint32_t i = 0; i < count; ++i) {
        target[i] = nitf_ComponentInfo_clone(source[i], error);
        if (target[i] == nullptr) {
            return false;
        }
    }
    return true;
}

bool cloneSecurity(nitf_FileSecurity*& target, nitf_FileSecurity* source, nitf_Error* error) {
    target = nitf_FileSecurity_clone(source, error);
    return target != nullptr || source == nullptr;
}

bool cloneExtensions(nitf_Extensions*& target, nitf_Extensions* source, nitf_Error* error) {
    if (source == nullptr) {
        return true;
    }
    target = nitf_Extensions_clone(source, error);
    return target != nullptr;
}

void destroyFieldList(nitf_List*& list) {
    if (list == nullptr) {
        return;
    }
    while (!nitf_List_isEmpty(list)) {
        auto* field = static_cast<nitf_Field*>(nitf_List_popFront(list));
        nitf_Field_destruct(&field);
    }
    nitf_List_destruct(&list);
}

NITF_DATA* cloneFieldItem(NITF_DATA* data, nitf_Error* error) {
    return nitf_Field_clone(static_cast<nitf_Field*>(data), error);
}

}  // namespace

extern "C" {

// --- security group ----------------------------------------------------------------------

nitf_FileSecurity* nitf_FileSecurity_construct(nitf_Error* error) {
    auto* fs = allocate<nitf_FileSecurity>(error);
    if (fs != nullptr && !constructFields(fs, securityFields(), error)) {
        nitf_FileSecurity_destruct(&fs);
    }
    return fs;
}

nitf_FileSecurity* nitf_FileSecurity_clone(nitf_FileSecurity* source, nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    auto* fs = allocate<nitf_FileSecurity>(error);
    if (fs != nullptr && !cloneFields(fs, source, securityFields(), error)) {
        nitf_FileSecurity_destruct(&fs);
    }
    return fs;
}

void nitf_FileSecurity_destruct(nitf_FileSecurity** fs) {
    if (fs == nullptr || *fs == nullptr) {
        return;
    }
    destroyFields(*fs, securityFields());
    std::free(*fs);
    *fs = nullptr;
}

NITF_BOOL nitf_FileSecurity_resizeForVersion(nitf_FileSecurity* fs, nitf_Version ver,
                                             nitf_Error* error) {
    bool v20 = ver == NITF_VER_20;
    struct Resize {
        nitf_Field* field;
        size_t width20;
        size_t width21;
    } resizes[] = {
        {fs->codewords, NITF_CODE_20_SZ, NITF_CODE_SZ},
        {fs->controlAndHandling, NITF_CTLH_20_SZ, NITF_CTLH_SZ},
        {fs->releasingInstructions, NITF_REL_20_SZ, NITF_REL_SZ},
        {fs->classificationAuthority, NITF_CAUT_20_SZ, NITF_CAUT_SZ},
        {fs->securityControlNumber, NITF_CTLN_20_SZ, NITF_CTLN_SZ},
        {fs->downgradeDateTime, NITF_DGDT_20_SZ, NITF_DGDT_SZ},
        {fs->classificationText, NITF_CLTX_20_SZ, NITF_CLTX_SZ},
    };
    for (const Resize& r : resizes) {
        size_t width = v20 ? r.width20 : r.width21;
        if (r.field->length != width && !nitf_Field_resetLength(r.field, width, false, error)) {
            return false;
        }
    }
    return true;
}

// --- component info ----------------------------------------------------------------------

nitf_ComponentInfo* nitf_ComponentInfo_construct(uint32_t subheaderFieldWidth,
                                                 uint32_t dataFieldWidth, nitf_Error* error) {
    auto* info = allocate<nitf_ComponentInfo>(error);
    if (info == nullptr) {
        return nullptr;
    }
    info->lengthSubheader = nitf_Field_construct(subheaderFieldWidth, NITF_BCS_N, error);
    info->lengthData = nitf_Field_construct(dataFieldWidth, NITF_BCS_N, error);
    if (info->lengthSubheader == nullptr || info->lengthData == nullptr) {
        nitf_ComponentInfo_destruct(&info);
    }
    return info;
}

nitf_ComponentInfo* nitf_ComponentInfo_clone(nitf_ComponentInfo* source, nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    auto* info = allocate<nitf_ComponentInfo>(error);
    if (info == nullptr) {
        return nullptr;
    }
    info->lengthSubheader = nitf_Field_clone(source->lengthSubheader, error);
    info->lengthData = nitf_Field_clone(source->lengthData, error);
    if (info->lengthSubheader == nullptr || info->lengthData == nullptr) {
        nitf_ComponentInfo_destruct(&info);
    }
    return info;
}

void nitf_ComponentInfo_destruct(nitf_ComponentInfo** info) {
    if (info == nullptr || *info == nullptr) {
        return;
    }
    nitf_Field_destruct(&(*info)->lengthSubheader);
    nitf_Field_destruct(&(*info)->lengthData);
    std::free(*info);
    *info = nullptr;
}

// --- lookup tables and bands -------------------------------------------------------------

nitf_LookupTable* nitf_LookupTable_construct(uint32_t tables, uint32_t entries, nitf_Error* error) {
    auto* lut = allocate<nitf_LookupTable>(error);
    if (lut == nullptr) {
        return nullptr;
    }
    lut->tables = tables;
    lut->entries = entries;
    size_t size = static_cast<size_t>(tables) * entries;
    if (size > 0) {
        lut->table = static_cast<uint8_t*>(std::calloc(size, 1));
        if (lut->table == nullptr) {
            nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
            nitf_LookupTable_destruct(&lut);
        }
    }
    return lut;
}

nitf_LookupTable* nitf_LookupTable_clone(nitf_LookupTable* source, nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    nitf_LookupTable* lut = nitf_LookupTable_construct(source->tables, source->entries, error);
    if (lut != nullptr && lut->table != nullptr) {
        std::memcpy(lut->table, source->table, static_cast<size_t>(lut->tables) * lut->entries);
    }
    return lut;
}

void nitf_LookupTable_destruct(nitf_LookupTable** lt) {
    if (lt == nullptr || *lt == nullptr) {
        return;
    }
    std::free((*lt)->table);
    std::free(*lt);
    *lt = nullptr;
}

NITF_BOOL nitf_LookupTable_init(nitf_LookupTable* lut, uint32_t numTables, uint32_t numEntries,
                                const NITF_DATA* tables, nitf_Error* error) {
    size_t size = static_cast<size_t>(numTables) * numEntries;
    auto* table = size > 0 ? static_cast<uint8_t*>(std::malloc(size)) : nullptr;
    if (size > 0 && table == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return false;
    }
    if (size > 0 && tables != nullptr) {
        std::memcpy(table, tables, size);
    } else if (size > 0) {
        std::memset(table, 0, size);
    }
    std::free(lut->table);
    lut->table = table;
    lut->tables = numTables;
    lut->entries = numEntries;
    return true;
}

nitf_BandInfo* nitf_BandInfo_construct(nitf_Error* error) {
    auto* band = allocate<nitf_BandInfo>(error);
    if (band != nullptr && !constructFields(band, bandFields(), error)) {
        nitf_BandInfo_destruct(&band);
    }
    return band;
}

nitf_BandInfo* nitf_BandInfo_clone(nitf_BandInfo* source, nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    auto* band = allocate<nitf_BandInfo>(error);
    if (band == nullptr) {
        return nullptr;
    }
    if (!cloneFields(band, source, bandFields(), error)) {
        nitf_BandInfo_destruct(&band);
        return nullptr;
    }
    if (source->lut != nullptr &&
        (band->lut = nitf_LookupTable_clone(source->lut, error)) == nullptr) {
        nitf_BandInfo_destruct(&band);
    }
    return band;
}

void nitf_BandInfo_destruct(nitf_BandInfo** info) {
    if (info == nullptr || *info == nullptr) {
        return;
    }
    destroyFields(*info, bandFields());
    nitf_LookupTable_destruct(&(*info)->lut);
    std::free(*info);
    *info = nullptr;
}

NITF_BOOL nitf_BandInfo_init(nitf_BandInfo* bandInfo, const char* representation,
                             const char* subcategory, const char* imageFilterCondition,
                             const char* imageFilterCode, uint32_t numLUTs,
                             uint32_t bandEntriesPerLUT, nitf_LookupTable* lut, nitf_Error* error) {
    if (!nitf_Field_setString(bandInfo->representation, representation, error) ||
        !nitf_Field_setString(bandInfo->subcategory, subcategory, error) ||
        !nitf_Field_setString(bandInfo->imageFilterCondition, imageFilterCondition, error) ||
        !nitf_Field_setString(bandInfo->imageFilterCode, imageFilterCode, error) ||
        !nitf_Field_setUint32(bandInfo->numLUTs, numLUTs, error)) {
        return false;
    }
    if (numLUTs > 0 &&
        !nitf_Field_setUint32(bandInfo->bandEntriesPerLUT, bandEntriesPerLUT, error)) {
        return false;
    }
    if (lut != bandInfo->lut) {
        nitf_LookupTable_destruct(&bandInfo->lut);
        bandInfo->lut = lut;
    }
    return true;
}

// --- file header -------------------------------------------------------------------------

nitf_FileHeader* nitf_FileHeader_construct(nitf_Error* error) {
    auto* fh = allocate<nitf_FileHeader>(error);
    if (fh == nullptr) {
        return nullptr;
    }
    if (!constructFields(fh, fileHeaderFields(), error) ||
        (fh->securityGroup = nitf_FileSecurity_construct(error)) == nullptr ||
        (fh->userDefinedSection = nitf_Extensions_construct(error)) == nullptr ||
        (fh->extendedSection = nitf_Extensions_construct(error)) == nullptr) {
        nitf_FileHeader_destruct(&fh);
    }
    return fh;
}

nitf_FileHeader* nitf_FileHeader_clone(nitf_FileHeader* source, nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    auto* fh = allocate<nitf_FileHeader>(error);
    if (fh == nullptr) {
        return nullptr;
    }
    using tessel_nitf::fieldValue;
    bool ok =
        cloneFields(fh, source, fileHeaderFields(), error) &&
        cloneSecurity(fh->securityGroup, source->securityGroup, error) &&
        cloneComponents(fh->imageInfo, source->imageInfo, fieldValue(source->numImages), error) &&
        cloneComponents(fh->graphicInfo, source->graphicInfo, fieldValue(source->numGraphics),
                        error) &&
        cloneComponents(fh->labelInfo, source->labelInfo, fieldValue(source->numLabels), error) &&
        cloneComponents(fh->textInfo, source->textInfo, fieldValue(source->numTexts), error) &&
        cloneComponents(fh->dataExtensionInfo, source->dataExtensionInfo,
                        fieldValue(source->numDataExtensions), error) &&
        cloneComponents(fh->reservedExtensionInfo, source->reservedExtensionInfo,
                        fieldValue(source->numReservedExtensions), error) &&
        cloneExtensions(fh->userDefinedSection, source->userDefinedSection, error) &&
        cloneExtensions(fh->extendedSection, source->extendedSection, error);
    if (!ok) {
        nitf_FileHeader_destruct(&fh);
    }
    return fh;
}

void nitf_FileHeader_destruct(nitf_FileHeader** fh) {
    if (fh == nullptr || *fh == nullptr) {
        return;
    }
    nitf_FileHeader* h = *fh;
    using tessel_nitf::fieldValue;
    destroyComponents(h->imageInfo, fieldValue(h->numImages));
    destroyComponents(h->graphicInfo, fieldValue(h->numGraphics));
    destroyComponents(h->labelInfo, fieldValue(h->numLabels));
    destroyComponents(h->textInfo, fieldValue(h->numTexts));
    destroyComponents(h->dataExtensionInfo, fieldValue(h->numDataExtensions));
    destroyComponents(h->reservedExtensionInfo, fieldValue(h->numReservedExtensions));
    destroyFields(h, fileHeaderFields());
    nitf_FileSecurity_destruct(&h->securityGroup);
    nitf_Extensions_destruct(&h->userDefinedSection);
    nitf_Extensions_destruct(&h->extendedSection);
    std::free(h);
    *fh = nullptr;
}

// --- image subheader ---------------------------------------------------------------------

nitf_ImageSubheader* nitf_ImageSubheader_construct(nitf_Error* error) {
    auto* sh = allocate<nitf_ImageSubheader>(error);
    if (sh == nullptr) {
        return nullptr;
    }
    if (!constructFields(sh, imageFields(), error) ||
        (sh->securityGroup = nitf_FileSecurity_construct(error)) == nullptr ||
        (sh->imageComments = nitf_List_construct(error)) == nullptr ||
        (sh->userDefinedSection = nitf_Extensions_construct(error)) == nullptr ||
        (sh->extendedSection = nitf_Extensions_construct(error)) == nullptr) {
        nitf_ImageSubheader_destruct(&sh);
        return nullptr;
    }
    nitf_Field_setString(sh->filePartType, "IM", error);
    return sh;
}

nitf_ImageSubheader* nitf_ImageSubheader_clone(nitf_ImageSubheader* source, nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    auto* sh = allocate<nitf_ImageSubheader>(error);
    if (sh == nullptr) {
        return nullptr;
    }
    bool ok = cloneFields(sh, source, imageFields(), error) &&
              cloneSecurity(sh->securityGroup, source->securityGroup, error) &&
              (sh->imageComments = nitf_List_clone(source->imageComments, cloneFieldItem, error)) !=
                  nullptr &&
              cloneExtensions(sh->userDefinedSection, source->userDefinedSection, error) &&
              cloneExtensions(sh->extendedSection, source->extendedSection, error);
    uint32_t bands = tessel_nitf::storedBandCount(source);
    if (ok && bands > 0 && source->bandInfo != nullptr) {
        sh->bandInfo = static_cast<nitf_BandInfo**>(std::calloc(bands, sizeof(nitf_BandInfo*)));
        ok = sh->bandInfo != nullptr;
        for (uint32_t b = 0; ok && b < bands; ++b) {
            sh->bandInfo[b] = nitf_BandInfo_clone(source->bandInfo[b], error);
            ok = sh->bandInfo[b] != nullptr;
        }
    }
    if (!ok) {
        nitf_ImageSubheader_destruct(&sh);
    }
    return sh;
}

void nitf_ImageSubheader_destruct(nitf_ImageSubheader** subhdr) {
    if (subhdr == nullptr || *subhdr == nullptr) {
        return;
    }
    nitf_ImageSubheader* sh = *subhdr;
    tessel_nitf::destroyBands(sh);
    destroyFields(sh, imageFields());
    nitf_FileSecurity_destruct(&sh->securityGroup);
    destroyFieldList(sh->imageComments);
    nitf_Extensions_destruct(&sh->userDefinedSection);
    nitf_Extensions_destruct(&sh->extendedSection);
    std::free(sh);
    *subhdr = nullptr;
}

// --- graphic, label, text, data and reserved extension subheaders ------------------------

nitf_GraphicSubheader* nitf_GraphicSubheader_construct(nitf_Error* error) {
    auto* sh = allocate<nitf_GraphicSubheader>(error);
    if (sh == nullptr) {
        return nullptr;
    }
    if (!constructFields(sh, graphicFields(), error) ||
        (sh->securityGroup = nitf_FileSecurity_construct(error)) == nullptr ||
        (sh->extendedSection = nitf_Extensions_construct(error)) == nullptr) {
        nitf_GraphicSubheader_destruct(&sh);
        return nullptr;
    }
    nitf_Field_setString(sh->filePartType, "SY", error);
    return sh;
}

nitf_GraphicSubheader* nitf_GraphicSubheader_clone(nitf_GraphicSubheader* source,
                                                   nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    auto* sh = allocate<nitf_GraphicSubheader>(error);
    if (sh == nullptr) {
        return nullptr;
    }
    bool ok = cloneFields(sh, source, graphicFields(), error) &&
              cloneFields(sh, source, symbolFields(), error) &&
              cloneSecurity(sh->securityGroup, source->securityGroup, error) &&
              cloneExtensions(sh->extendedSection, source->extendedSection, error);
    if (ok && source->lut != nullptr) {
        ok = (sh->lut = nitf_LookupTable_clone(source->lut, error)) != nullptr;
    }
    if (!ok) {
        nitf_GraphicSubheader_destruct(&sh);
    }
    return sh;
}

void nitf_GraphicSubheader_destruct(nitf_GraphicSubheader** subhdr) {
    if (subhdr == nullptr || *subhdr == nullptr) {
        return;
    }
    destroyFields(*subhdr, graphicFields());
    destroyFields(*subhdr, symbolFields());
    nitf_LookupTable_destruct(&(*subhdr)->lut);
    nitf_FileSecurity_destruct(&(*subhdr)->securityGroup);
    nitf_Extensions_destruct(&(*subhdr)->extendedSection);
    std::free(*subhdr);
    *subhdr = nullptr;
}

nitf_LabelSubheader* nitf_LabelSubheader_construct(nitf_Error* error) {
    auto* sh = allocate<nitf_LabelSubheader>(error);
    if (sh == nullptr) {
        return nullptr;
    }
    if (!constructFields(sh, labelFields(), error) ||
        (sh->securityGroup = nitf_FileSecurity_construct(error)) == nullptr ||
        (sh->extendedSection = nitf_Extensions_construct(error)) == nullptr) {
        nitf_LabelSubheader_destruct(&sh);
        return nullptr;
    }
    nitf_Field_setString(sh->filePartType, "LA", error);
    return sh;
}

nitf_LabelSubheader* nitf_LabelSubheader_clone(nitf_LabelSubheader* source, nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    auto* sh = allocate<nitf_LabelSubheader>(error);
    if (sh != nullptr && !(cloneFields(sh, source, labelFields(), error) &&
                           cloneSecurity(sh->securityGroup, source->securityGroup, error) &&
                           cloneExtensions(sh->extendedSection, source->extendedSection, error))) {
        nitf_LabelSubheader_destruct(&sh);
    }
    return sh;
}

void nitf_LabelSubheader_destruct(nitf_LabelSubheader** subhdr) {
    if (subhdr == nullptr || *subhdr == nullptr) {
        return;
    }
    destroyFields(*subhdr, labelFields());
    nitf_FileSecurity_destruct(&(*subhdr)->securityGroup);
    nitf_Extensions_destruct(&(*subhdr)->extendedSection);
    std::free(*subhdr);
    *subhdr = nullptr;
}

nitf_TextSubheader* nitf_TextSubheader_construct(nitf_Error* error) {
    auto* sh = allocate<nitf_TextSubheader>(error);
    if (sh == nullptr) {
        return nullptr;
    }
    if (!constructFields(sh, textFields(), error) ||
        (sh->securityGroup = nitf_FileSecurity_construct(error)) == nullptr ||
        (sh->extendedSection = nitf_Extensions_construct(error)) == nullptr) {
        nitf_TextSubheader_destruct(&sh);
        return nullptr;
    }
    nitf_Field_setString(sh->filePartType, "TE", error);
    return sh;
}

nitf_TextSubheader* nitf_TextSubheader_clone(nitf_TextSubheader* source, nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    auto* sh = allocate<nitf_TextSubheader>(error);
    if (sh != nullptr && !(cloneFields(sh, source, textFields(), error) &&
                           cloneSecurity(sh->securityGroup, source->securityGroup, error) &&
                           cloneExtensions(sh->extendedSection, source->extendedSection, error))) {
        nitf_TextSubheader_destruct(&sh);
    }
    return sh;
}

void nitf_TextSubheader_destruct(nitf_TextSubheader** subhdr) {
    if (subhdr == nullptr || *subhdr == nullptr) {
        return;
    }
    destroyFields(*subhdr, textFields());
    nitf_FileSecurity_destruct(&(*subhdr)->securityGroup);
    nitf_Extensions_destruct(&(*subhdr)->extendedSection);
    std::free(*subhdr);
    *subhdr = nullptr;
}

nitf_DESubheader* nitf_DESubheader_construct(nitf_Error* error) {
    auto* sh = allocate<nitf_DESubheader>(error);
    if (sh == nullptr) {
        return nullptr;
    }
    if (!constructFields(sh, dataExtensionFields(), error) ||
        (sh->securityGroup = nitf_FileSecurity_construct(error)) == nullptr ||
        (sh->userDefinedSection = nitf_Extensions_construct(error)) == nullptr) {
        nitf_DESubheader_destruct(&sh);
        return nullptr;
    }
    nitf_Field_setString(sh->filePartType, "DE", error);
    return sh;
}

nitf_DESubheader* nitf_DESubheader_clone(nitf_DESubheader* source, nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    auto* sh = allocate<nitf_DESubheader>(error);
    if (sh == nullptr) {
        return nullptr;
    }
    sh->dataLength = source->dataLength;
    bool ok = cloneFields(sh, source, dataExtensionFields(), error) &&
              cloneSecurity(sh->securityGroup, source->securityGroup, error) &&
              cloneExtensions(sh->userDefinedSection, source->userDefinedSection, error);
    if (ok && source->subheaderFields != nullptr) {
        ok = (sh->subheaderFields = nitf_TRE_clone(source->subheaderFields, error)) != nullptr;
    }
    if (!ok) {
        nitf_DESubheader_destruct(&sh);
    }
    return sh;
}

void nitf_DESubheader_destruct(nitf_DESubheader** subhdr) {
    if (subhdr == nullptr || *subhdr == nullptr) {
        return;
    }
    destroyFields(*subhdr, dataExtensionFields());
    nitf_FileSecurity_destruct(&(*subhdr)->securityGroup);
    nitf_TRE_destruct(&(*subhdr)->subheaderFields);
    nitf_Extensions_destruct(&(*subhdr)->userDefinedSection);
    std::free(*subhdr);
    *subhdr = nullptr;
}

nitf_RESubheader* nitf_RESubheader_construct(nitf_Error* error) {
    auto* sh = allocate<nitf_RESubheader>(error);
    if (sh == nullptr) {
        return nullptr;
    }
    if (!constructFields(sh, reservedExtensionFields(), error) ||
        (sh->securityGroup = nitf_FileSecurity_construct(error)) == nullptr) {
        nitf_RESubheader_destruct(&sh);
        return nullptr;
    }
    nitf_Field_setString(sh->filePartType, "RE", error);
    return sh;
}

nitf_RESubheader* nitf_RESubheader_clone(nitf_RESubheader* source, nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    auto* sh = allocate<nitf_RESubheader>(error);
    if (sh == nullptr) {
        return nullptr;
    }
    sh->dataLength = source->dataLength;
    bool ok = cloneFields(sh, source, reservedExtensionFields(), error) &&
              cloneSecurity(sh->securityGroup, source->securityGroup, error);
    uint32_t length = tessel_nitf::fieldValue(source->subheaderFieldsLength);
    if (ok && source->subheaderFields != nullptr && length > 0) {
        sh->subheaderFields = static_cast<char*>(std::malloc(length));
        ok = sh->subheaderFields != nullptr;
        if (ok) {
            std::memcpy(sh->subheaderFields, source->subheaderFields, length);
        }
    }
    if (!ok) {
        nitf_RESubheader_destruct(&sh);
    }
    return sh;
}

void nitf_RESubheader_destruct(nitf_RESubheader** subhdr) {
    if (subhdr == nullptr || *subhdr == nullptr) {
        return;
    }
    destroyFields(*subhdr, reservedExtensionFields());
    nitf_FileSecurity_destruct(&(*subhdr)->securityGroup);
    std::free((*subhdr)->subheaderFields);
    std::free(*subhdr);
    *subhdr = nullptr;
}

}  // extern "C"

namespace tessel_nitf {

bool constructSymbolFields(nitf_GraphicSubheader* subheader, nitf_Error* error) {
    destroyFields(subheader, symbolFields());
    return constructFields(subheader, symbolFields(), error);
}

}  // namespace tessel_nitf
