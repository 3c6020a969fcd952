#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// A path string taken apart: the path, and the query that says how its text is rendered
// and refined (type conversion, range filter, reverse Polish expression, units).

#include <cstdint>
#include <iosfwd>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "tessel/core/any_type.h"
#include "tessel/paths/PathContext.h"

struct PathComponents {
    enum ParseType : int32_t {
        ParseString = 0,   // "string"
        ParseDouble = 1,   // "double"
        ParseInt = 2,      // "int"
        ParseImageID = 3,  // "ImageID"
        ParseFDT = 4,      // "FDT"
    };
    enum Units : int32_t {
        UnitsNone = 0,
        UnitsFeet = 1,    // "ft"
        UnitsInches = 2,  // "in"
        UnitsMeters = 3,  // "m"
    };

    std::string path;  // the text before the first "?"
    ParseType parseType = ParseString;
    PathContext::FormatType format = PathContext::FormatString;
    double rangeMin = std::numeric_limits<double>::lowest();
    double rangeMax = std::numeric_limits<double>::max();
    Units units = UnitsNone;
    std::vector<any_type::value> exp;  // reverse Polish tokens: doubles, integers, narrow text
    double depth = std::numeric_limits<double>::max();  // nesting limit of JSON output

    // Splits "path?query". The query is one of the words "XML", "JSON", "RAW", or items
    // key=value joined by "&" with the keys "parse", "range", "units", "format", "exp" and
    // "depth". Unknown keys and malformed items are skipped; an unknown parse word is
    // reported on the standard error stream. Never throws for bad text.
    static PathComponents parse(std::string_view text);

    // Refines a rendered value: conversion by parseType, range filter, expression, units.
    // Any failure gives an empty value; nothing is reported.
    any_type::value postProcess(const any_type::value& value) const;
};

// Writes the record back as path text for diagnostics: the path, then "?" and the parts
// that differ from their defaults as sorted key=value pairs ("exp", "format", "parse",
// "range", "units") joined by "&".
std::wostream& operator<<(std::wostream& os, const PathComponents& components);

TESSEL_PUBLIC_END
