// CSSHPB: the user-defined subheader of the second shapefile data extension: identifiers,
// the image segments the shapes belong to (or "ALL"), associated elements, use attributes,
// the shape class and coordinate system, and where the three component files start.

#include "file/extensions/ExtensionTables.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 36, "Shapefile Identifier", "SHAPEFILE_ID", nullptr},
    {NITF_BCS_A, 36, "Shape Identifiers", "SHAPES_ID", nullptr},
    {NITF_BCS_A, 3, "Number of Associated Image Segments", "NUMAIS", nullptr},
    // "ALL" associates every image segment, and no display levels follow.
    {NITF_IF, 0, "ne ALL", "NUMAIS", nullptr},
    {NITF_LOOP, 0, nullptr, "NUMAIS", nullptr},
    {NITF_BCS_N, 3, "Associated Image Segment Display Level", "AISDLVL", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_ENDIF, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_A, 24, "UTC Timestamp", "TIMESTAMP", nullptr},
    {NITF_BCS_N, 3, "Number of Elements", "NUM_ASSOC_ELEM", nullptr},
    {NITF_LOOP, 0, nullptr, "NUM_ASSOC_ELEM", nullptr},
    {NITF_BCS_A, 36, "Associated Element UUID", "ASSOC_ELEM_ID", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_A, 25, "Shapefile Use", "SHAPE_USE", nullptr},
    {NITF_BCS_A, 3, "Number of Shapefile Use Attributes", "NUM_SHAPE_USE_ATTR", nullptr},
    {NITF_LOOP, 0, nullptr, "NUM_SHAPE_USE_ATTR", nullptr},
    {NITF_BCS_A, 15, "Shapefile Use Attribute Name", "SHAPE_USE_ATTR_NAME", nullptr},
    {NITF_BCS_A, 10, "Shapefile Use Attribute Value", "SHAPE_USE_ATTR_VALUE", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_A, 11, "Type of Shapes", "SHAPE_CLASS", nullptr},
    {NITF_BCS_A, 10, "Shape Coordinate System", "SHAPE_COORD", nullptr},
    {NITF_BCS_N, 11, "Shape Version", "SHAPE_VERSION", nullptr},
    {NITF_BCS_N, 3, "Shapefile Sequence Number", "SHAPE_PART", nullptr},
    {NITF_BCS_N, 3, "Number of Complete Shapefiles", "SHAPE_NUM_PARTS", nullptr},
    {NITF_BCS_A, 18, "Source Sensor", "SOURCE", nullptr},
    {NITF_BCS_A, 3, "Name of First Component", "SHAPE1_NAME", nullptr},
    {NITF_BCS_A, 9, "Start Location of First Component", "SHAPE1_START", nullptr},
    {NITF_BCS_A, 3, "Name of Second Component", "SHAPE2_NAME", nullptr},
    {NITF_BCS_A, 9, "Start Location of Second Component", "SHAPE2_START", nullptr},
    {NITF_BCS_A, 3, "Name of Third Component", "SHAPE3_NAME", nullptr},
    {NITF_BCS_A, 9, "Start Location of Third Component", "SHAPE3_START", nullptr},
    {NITF_BCS_A, NITF_TRE_GOBBLE, "Not Supported", "NOT_SUPPORTED", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"CSSHPB", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet Tessel::ExtensionTables::CSSHPB = {0, infos};
