#include "sensors/RSMRecords.h"

#include <fmt/format.h>

#include <boost/format.hpp>
#include <cmath>

namespace VEXASensors::detail_rsm_records {

namespace {

using detail_support::FailSink;
namespace rsms = detail_support;

// Each record's members in order, offered to a visitor that reads or writes them.
template <typename Id, typename Visitor>
void visitRSMID(Id& r, Visitor& v) {
    v("IID", r.IID), v("EDITION", r.EDITION), v("ISID", r.ISID), v("SID", r.SID);
    v("STID", r.STID);
    v("YEAR", r.YEAR), v("MONTH", r.MONTH), v("DAY", r.DAY), v("HOUR", r.HOUR);
    v("MINUTE", r.MINUTE), v("SECOND", r.SECOND);
    v("NRG", r.NRG), v("NCG", r.NCG), v("TRG", r.TRG), v("TCG", r.TCG);
    v("GRNDD", r.GRNDD);
    v("XUOR", r.XUOR), v("YUOR", r.YUOR), v("ZUOR", r.ZUOR);
    v("XUXR", r.XUXR), v("YUXR", r.YUXR), v("ZUXR", r.ZUXR);
    v("XUYR", r.XUYR), v("YUYR", r.YUYR), v("ZUYR", r.ZUYR);
    v("XUZR", r.XUZR), v("YUZR", r.YUZR), v("ZUZR", r.ZUZR);
    v("V1X", r.V1X), v("V1Y", r.V1Y), v("V1Z", r.V1Z);
    v("V2X", r.V2X), v("V2Y", r.V2Y), v("V2Z", r.V2Z);
    v("V3X", r.V3X), v("V3Y", r.V3Y), v("V3Z", r.V3Z);
    v("V4X", r.V4X), v("V4Y", r.V4Y), v("V4Z", r.V4Z);
    v("V5X", r.V5X), v("V5Y", r.V5Y), v("V5Z", r.V5Z);
    v("V6X", r.V6X), v("V6Y", r.V6Y), v("V6Z", r.V6Z);
    v("V7X", r.V7X), v("V7Y", r.V7Y), v("V7Z", r.V7Z);
    v("V8X", r.V8X), v("V8Y", r.V8Y), v("V8Z", r.V8Z);
    v("GRPX", r.GRPX), v("GRPY", r.GRPY), v("GRPZ", r.GRPZ);
    v("FULLR", r.FULLR), v("FULLC", r.FULLC);
    v("MINR", r.MINR), v("MAXR", r.MAXR), v("MINC", r.MINC), v("MAXC", r.MAXC);
    v("IE0", r.IE0), v("IER", r.IER), v("IEC", r.IEC), v("IERR", r.IERR), v("IERC", r.IERC);
    v("IECC", r.IECC);
    v("IA0", r.IA0), v("IAR", r.IAR), v("IAC", r.IAC), v("IARR", r.IARR), v("IARC", r.IARC);
    v("IACC", r.IACC);
    v("SPX", r.SPX), v("SPY", r.SPY), v("SPZ", r.SPZ);
    v("SVX", r.SVX), v("SVY", r.SVY), v("SVZ", r.SVZ);
    v("SAX", r.SAX), v("SAY", r.SAY), v("SAZ", r.SAZ);
}

template <typename Index, typename Visitor>
void visitRSMPIA(Index& r, Visitor& v) {
    v("IID", r.IID), v("EDITION", r.EDITION);
    v("R0", r.R0), v("RX", r.RX), v("RY", r.RY), v("RZ", r.RZ), v("RXX", r.RXX);
    v("RXY", r.RXY), v("RXZ", r.RXZ), v("RYY", r.RYY), v("RYZ", r.RYZ), v("RZZ", r.RZZ);
    v("C0", r.C0), v("CX", r.CX), v("CY", r.CY), v("CZ", r.CZ), v("CXX", r.CXX);
    v("CXY", r.CXY), v("CXZ", r.CXZ), v("CYY", r.CYY), v("CYZ", r.CYZ), v("CZZ", r.CZZ);
    v("RNIS", r.RNIS), v("CNIS", r.CNIS), v("TNIS", r.TNIS);
    v("RSSIZ", r.RSSIZ), v("CSSIZ", r.CSSIZ);
}

template <typename Section, typename Visitor>
void visitRSMPCA(Section& r, Visitor& v) {
    v("IID", r.IID), v("EDITION", r.EDITION), v("RSN", r.RSN), v("CSN", r.CSN);
    v("RFEP", r.RFEP), v("CFEP", r.CFEP);
    v("RNRMO", r.RNRMO), v("CNRMO", r.CNRMO), v("XNRMO", r.XNRMO), v("YNRMO", r.YNRMO);
    v("ZNRMO", r.ZNRMO);
    v("RNRMSF", r.RNRMSF), v("CNRMSF", r.CNRMSF), v("XNRMSF", r.XNRMSF), v("YNRMSF", r.YNRMSF);
    v("ZNRMSF", r.ZNRMSF);
    v("RNPWRX", r.RNPWRX), v("RNPWRY", r.RNPWRY), v("RNPWRZ", r.RNPWRZ), v("RNTRMS", r.RNTRMS);
    v("RNPCF", r.RNPCF);
    v("RDPWRX", r.RDPWRX), v("RDPWRY", r.RDPWRY), v("RDPWRZ", r.RDPWRZ), v("RDTRMS", r.RDTRMS);
    v("RDPCF", r.RDPCF);
    v("CNPWRX", r.CNPWRX), v("CNPWRY", r.CNPWRY), v("CNPWRZ", r.CNPWRZ), v("CNTRMS", r.CNTRMS);
    v("CNPCF", r.CNPCF);
    v("CDPWRX", r.CDPWRX), v("CDPWRY", r.CDPWRY), v("CDPWRZ", r.CDPWRZ), v("CDTRMS", r.CDTRMS);
    v("CDPCF", r.CDPCF);
}

bool emptyText(const nlohmann::json& value) {
    return value.is_string() && value.get_ref<const std::string&>().empty();
}

// A number that must fit a 32-bit integer; its fraction is dropped.
int32_t toInt32(const nlohmann::json& value, const FailSink& fail) {
    const double number = rsms::readNumber(value, fail);
    if (!(number > -2147483649.0 && number < 2147483648.0)) {
        rsms::failAndThrow(fail, fmt::format("'{}' is not a number", rsms::readText(value)));
    }
    return static_cast<int32_t>(number);
}

const char* domainLetter(RSMGroundDomain domain) {
    switch (domain) {
        case RSMGroundDomain::H:
            return "H";
        case RSMGroundDomain::R:
            return "R";
        case RSMGroundDomain::G:
            break;
    }
    return "G";
}

// Fills a record from an object: required members must be there (an empty text reads 0),
// optional ones may be missing or empty.
struct RSMFieldReader {
    const nlohmann::json& object;
    const FailSink& fail;

    // An optional member's value, or null when it is missing or empty.
    const nlohmann::json* present(const char* key) const {
        if (!object.is_object()) {
            (void)rsms::memberOf(object, key, fail);
        }
        const auto it = object.find(key);
        if (it == object.end() || emptyText(*it)) {
            return nullptr;
        }
        return &*it;
    }

    void operator()(const char* key, std::string& field) const {
        field = rsms::readText(rsms::memberOf(object, key, fail));
    }
    void operator()(const char* key, double& field) const {
        field = rsms::readNumber(rsms::memberOf(object, key, fail), fail);
    }
    void operator()(const char* key, int32_t& field) const {
        const nlohmann::json& value = rsms::memberOf(object, key, fail);
        field = emptyText(value) ? 0 : toInt32(value, fail);
    }
    void operator()(const char* key, std::optional<double>& field) const {
        const nlohmann::json* value = present(key);
        field =
            value != nullptr ? std::optional<double>(rsms::readNumber(*value, fail)) : std::nullopt;
    }
    void operator()(const char* key, std::optional<int32_t>& field) const {
        const nlohmann::json* value = present(key);
        field = value != nullptr ? std::optional<int32_t>(toInt32(*value, fail)) : std::nullopt;
    }
    void operator()(const char* key, RSMGroundDomain& field) const {
        const std::string letter = rsms::readText(rsms::memberOf(object, key, fail));
        if (letter == "G") {
            field = RSMGroundDomain::G;
        } else if (letter == "H") {
            field = RSMGroundDomain::H;
        } else if (letter == "R") {
            field = RSMGroundDomain::R;
        } else {
            rsms::failAndThrow(fail,
                               (boost::format("Enumeration %1% is not valid") % letter).str());
        }
    }
    // An array, or one object, string or number standing for a list of one.
    void operator()(const char* key, std::vector<double>& field) const {
        const nlohmann::json& value = rsms::memberOf(object, key, fail);
        field.clear();
        if (value.is_array()) {
            field.reserve(value.size());
            for (const auto& element : value) {
                field.push_back(rsms::readNumber(element, fail));
            }
        } else if (value.is_object() || value.is_string() || value.is_number()) {
            field.push_back(rsms::readNumber(value, fail));
        } else {
            rsms::failAndThrow(fail,
                               fmt::format("Type must be array, but is {}", value.type_name()));
        }
    }
};

struct RSMFieldWriter {
    nlohmann::ordered_json& object;

    template <typename Value>
    void operator()(const char* key, const Value& field) const {
        object[key] = field;
    }
    template <typename Value>
    void operator()(const char* key, const std::optional<Value>& field) const {
        if (field) {
            object[key] = *field;
        }
    }
    void operator()(const char* key, const RSMGroundDomain& field) const {
        object[key] = domainLetter(field);
    }
};

}  // namespace

namespace {

// A triple stands only when all three of its values do.
void keepWholeTriple(std::optional<double>& x, std::optional<double>& y, std::optional<double>& z) {
    if (!x || !y || !z) {
        x.reset();
        y.reset();
        z.reset();
    }
}

}  // namespace

RSMID readRSMID(const nlohmann::json& object, const FailSink& fail) {
    RSMID record;
    RSMFieldReader reader{object, fail};
    visitRSMID(record, reader);
    RSMID& r = record;
    keepWholeTriple(r.XUOR, r.YUOR, r.ZUOR);
    keepWholeTriple(r.XUXR, r.YUXR, r.ZUXR);
    keepWholeTriple(r.XUYR, r.YUYR, r.ZUYR);
    keepWholeTriple(r.XUZR, r.YUZR, r.ZUZR);
    keepWholeTriple(r.GRPX, r.GRPY, r.GRPZ);
    keepWholeTriple(r.SPX, r.SPY, r.SPZ);
    keepWholeTriple(r.SVX, r.SVY, r.SVZ);
    keepWholeTriple(r.SAX, r.SAY, r.SAZ);
    return record;
}

RSMPIA readRSMPIA(const nlohmann::json& object, const FailSink& fail) {
    RSMPIA record;
    RSMFieldReader reader{object, fail};
    visitRSMPIA(record, reader);
    return record;
}

RSMPCA readRSMPCA(const nlohmann::json& object, const FailSink& fail) {
    RSMPCA record;
    RSMFieldReader reader{object, fail};
    visitRSMPCA(record, reader);
    return record;
}

std::vector<RSMPCA> readRSMPCAList(const nlohmann::json& value, const FailSink& fail) {
    std::vector<RSMPCA> list;
    if (value.is_array()) {
        list.reserve(value.size());
        for (const auto& element : value) {
            list.push_back(readRSMPCA(element, fail));
        }
    } else if (value.is_object()) {
        list.push_back(readRSMPCA(value, fail));
    } else {
        rsms::failAndThrow(fail, fmt::format("Type must be array, but is {}", value.type_name()));
    }
    return list;
}

nlohmann::ordered_json writeRSMID(const RSMID& id) {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    RSMFieldWriter writer{object};
    visitRSMID(id, writer);
    return object;
}

nlohmann::ordered_json writeRSMPIA(const RSMPIA& index) {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    RSMFieldWriter writer{object};
    visitRSMPIA(index, writer);
    return object;
}

nlohmann::ordered_json writeRSMPCA(const RSMPCA& section) {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    RSMFieldWriter writer{object};
    visitRSMPCA(section, writer);
    return object;
}

}  // namespace VEXASensors::detail_rsm_records
