// PIAIMC: profile for imagery access, image part: cloud cover, sensor, source, mission,
// camera, generation and the datum and projection of the image. 362 bytes.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_N, 3, "Cloud cover, percent", "CLOUDCVR", nullptr},
    {NITF_BCS_A, 1, "Standard radiometric product (Y or N)", "SRP", nullptr},
    {NITF_BCS_A, 12, "Sensor mode", "SENSMODE", nullptr},
    {NITF_BCS_A, 18, "Sensor name", "SENSNAME", nullptr},
    {NITF_BCS_A, 255, "Source", "SOURCE", nullptr},
    {NITF_BCS_N, 2, "Compression generation", "COMGEN", nullptr},
    {NITF_BCS_A, 1, "Subjective quality", "SUBQUAL", nullptr},
    {NITF_BCS_A, 7, "Mission number", "PIAMSNNUM", nullptr},
    {NITF_BCS_A, 32, "Camera specifications", "CAMSPECS", nullptr},
    {NITF_BCS_A, 2, "Project identifier", "PROJID", nullptr},
    {NITF_BCS_N, 1, "Generation", "GENERATION", nullptr},
    {NITF_BCS_A, 1, "Exploitation support data present (Y or N)", "ESD", nullptr},
    {NITF_BCS_A, 2, "Other conditions", "OTHERCOND", nullptr},
    {NITF_BCS_N, 7, "Mean ground sample distance", "MEANGSD", nullptr},
    {NITF_BCS_A, 3, "Image datum", "IDATUM", nullptr},
    {NITF_BCS_A, 3, "Image ellipsoid", "IELLIP", nullptr},
    {NITF_BCS_A, 2, "Image processing level", "PREPROC", nullptr},
    {NITF_BCS_A, 2, "Image projection", "IPROJ", nullptr},
    {NITF_BCS_N, 8, "Satellite track", "SATTRACK", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"PIAIMC", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::PIAIMC = {0, infos};
