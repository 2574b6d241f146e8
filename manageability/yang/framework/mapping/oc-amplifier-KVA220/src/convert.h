/// \file
/// Numbers between the native models, which count tenths of a dB, and OpenConfig, which counts dB.
#ifndef YMAP_CONVERT_H
#define YMAP_CONVERT_H

#include "request.h"

namespace ymap {

/// The number that a text begins with, as scanf's "%lf" reads it; 0 when it begins with none. Texts of digits
/// do not depend on the locale of the process.
double parse_number(const char *text);

/// The dB of a native number of tenths: parse_number(tenths) / 10 as print_decibels() writes it. The buffers
/// may be the same.
void convert_tenths(const char *tenths, char *buffer);

/// Writes `decibels` as printf's "%.2f" does, whatever the locale; `buffer` holds text_size bytes.
void print_decibels(char *buffer, double decibels);

}  // namespace ymap

#endif  // YMAP_CONVERT_H
