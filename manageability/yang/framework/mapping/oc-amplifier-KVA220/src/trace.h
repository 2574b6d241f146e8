/// \file
/// Trace points: one per message site, with two outputs that are formatted only when they are asked for.
///
/// A trace point with both outputs off costs one call of yfw_debug_should_log and one test. Each site keeps
/// an index for the log in its own static word; a shared pattern therefore has one index per site in its
/// source, and names the function that it runs for.
#ifndef YMAP_TRACE_H
#define YMAP_TRACE_H

#include <cassert>

#include "yfw_services.h"

namespace ymap {

/// Formats into a 250-byte line, cut at its end, and writes it to the light trace.
void light_trace(yfw_map_ctx *ctx, const char *format, ...) __attribute__((format(printf, 2, 3), cold));

/// "(null)" for a NULL text.
inline const char *shown(const char *text) {
  return text != nullptr ? text : "(null)";
}

/// Traces the end of a function that was called with a NULL node or output; the status to return.
verrno invalid_arguments(yfw_map_ctx *ctx, const char *function);

/// A message for both outputs; a row may choose it. It brings the log's index, as the log keeps one for each
/// text.
struct TraceText {
  const char *log;
  const char *light;
  mutable uint32_t site_index = 0xffffffffU;
};

/// A trace point that somebody listens to: writes to the log, if `is_logged`, and to the light trace, if it
/// is on. Apart from the trace points, so that a silent one keeps nothing ready for it.
template <typename... Arguments>
__attribute__((cold, noinline)) void write_trace(yfw_map_ctx *ctx, int is_logged, void *log,
                                                 uint32_t &site_index, const char *log_format,
                                                 const char *light_format, const char *function, int line,
                                                 Arguments... arguments) {
  if (is_logged != 0)
    _nos_dt_log_filter_adv(log, 0, 0, 0, 0, 0, &site_index, log_format, static_cast<void *>(ctx),
                           arguments...);
  if (ctx->ltrace_on != 0)
    light_trace(ctx, light_format, ret_nc_yfw_trace_index_incr(), function, line, static_cast<void *>(ctx),
                arguments...);
}

}  // namespace ymap

#define YMAP_LOG_FORMAT(level, text) level ": YFW: ctx=%p," text
#define YMAP_LIGHT_FORMAT(level, text) "#%u: " level ": %s:%d ctx=%p," text

#define YMAP_TRACE(number, log, ctx, function, site_index, log_format, light_format, ...)           \
  do {                                                                                              \
    const int is_logged = yfw_debug_should_log(&(ctx)->debug_cfg, number);                          \
    /* never run: has the compiler compare the format with the arguments */                         \
    if (false)                                                                                      \
      ymap::light_trace(ctx, light_format, 0U, function, 0,                                         \
                        static_cast<void *>(ctx) __VA_OPT__(, ) __VA_ARGS__);                       \
    if (__builtin_expect(static_cast<unsigned>(is_logged) | (ctx)->ltrace_on, 0) != 0)              \
      ymap::write_trace(ctx, is_logged, (ctx)->log, site_index, log_format, light_format, function, \
                        __LINE__ __VA_OPT__(, ) __VA_ARGS__);                                       \
  } while (false)

/// A site with a text of its own.
#define YMAP_SITE(number, log, level, ctx, function, text, ...)                     \
  do {                                                                              \
    static uint32_t own_index = 0xffffffffU;                                        \
    YMAP_TRACE(number, log, ctx, function, own_index, YMAP_LOG_FORMAT(level, text), \
               YMAP_LIGHT_FORMAT(level, text) __VA_OPT__(, ) __VA_ARGS__);          \
  } while (false)

/// Level TRC (3) and level ERR (0).
#define TRC(ctx, function, text, ...) \
  YMAP_SITE(3, trc_log, "TRC", ctx, function, text __VA_OPT__(, ) __VA_ARGS__)
#define ERR(ctx, function, text, ...) \
  YMAP_SITE(0, err_log, "ERR", ctx, function, text __VA_OPT__(, ) __VA_ARGS__)

/// Level TRC with the text of a row.
#define YMAP_TRC_TEXT(text) \
  { YMAP_LOG_FORMAT("TRC", text), YMAP_LIGHT_FORMAT("TRC", text) }
#define TRC_ROW(ctx, function, row_text, ...)                                  \
  YMAP_TRACE(3, trc_log, ctx, function, (row_text).site_index, (row_text).log, \
             (row_text).light __VA_OPT__(, ) __VA_ARGS__)

#endif  // YMAP_TRACE_H
