/// \file
/// Amplifiers for monitoring systems: the text format of OpenMetrics, as Prometheus reads it too.
#pragma once

#include <string>

#include "openconfig_answer.hpp"
#include "schema.hpp"

namespace ymap {

/// A gauge for each quantity, labelled with the amplifier: in dB, or 1 and 0. Of a quantity that is both set
/// and reported the report counts. No times: whoever collects has his own. What says what the amplifier is
/// set up as is a gauge too: Prometheus' own format knows no type "info".
std::string openmetrics(const Schema &schema, const Data &data);

}  // namespace ymap
