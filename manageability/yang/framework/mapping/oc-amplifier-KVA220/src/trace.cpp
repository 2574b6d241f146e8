// The parts of a trace point that run only when somebody listens, and the one failure that every function
// shares.
#include "trace.h"

#include <cstdarg>
#include <cstdio>

namespace ymap {

namespace {

constexpr size_t light_trace_line = 250;
constexpr uint64_t light_trace_tag = 0x10101000000;

}  // namespace

void light_trace(yfw_map_ctx *ctx, const char *format, ...) {
  char line[light_trace_line];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  _lstrace(ctx->ltrace, light_trace_tag, line);
}

verrno invalid_arguments(yfw_map_ctx *ctx, const char *function) {
  ERR(ctx, function, "Invalid arguments passed!");
  yfw_oc_error_path(ctx);
  return YMAP_ERR_INVALID_ARGS;
}

}  // namespace ymap
