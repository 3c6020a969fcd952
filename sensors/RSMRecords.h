#pragma once
// The records of the replacement sensor model read from and written to JSON objects: the
// members of a state document and the fields of the TREs as the path language gives them.

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "sensors/SupportData.h"
#include "tessel/sensors/RSMPolyModel.h"

namespace VEXASensors::detail_rsm_records {

// Each reads the members of its record; a missing required member, a value that doesn't
// parse or an unknown ground domain is reported through `fail` and throws already_logged.
RSMID readRSMID(const nlohmann::json& object, const detail_support::FailSink& fail);
RSMPIA readRSMPIA(const nlohmann::json& object, const detail_support::FailSink& fail);
RSMPCA readRSMPCA(const nlohmann::json& object, const detail_support::FailSink& fail);
// An array of section objects, or one object standing for a list of one.
std::vector<RSMPCA> readRSMPCAList(const nlohmann::json& value,
                                   const detail_support::FailSink& fail);

// The members in record order; an absent optional value is left out.
nlohmann::ordered_json writeRSMID(const RSMID& id);
nlohmann::ordered_json writeRSMPIA(const RSMPIA& index);
nlohmann::ordered_json writeRSMPCA(const RSMPCA& section);

}  // namespace VEXASensors::detail_rsm_records
