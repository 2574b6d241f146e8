// Log sinks, the light trace and the observer, and the services that write to them.
#include "trace.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "request.hpp"

namespace yfw {
namespace {

struct FileCloser {
  void operator()(std::FILE *file) const { std::fclose(file); }
};

/// What ctx.err_log and ctx.trc_log point to.
struct Channel {
  LogLevel level;
  LogSink sink = LogSink::none;
  std::unique_ptr<std::FILE, FileCloser> file = nullptr;
};

/// What ctx.ltrace points to. `lines` is the ring; `next` the place of the oldest line once it is full.
struct LightTrace {
  std::size_t capacity = 0;
  std::vector<std::string> lines;
  std::size_t next = 0;
};

Channel error_channel{LogLevel::error};
Channel trace_channel{LogLevel::trace};
LightTrace light_trace;

/// What a request's debug_cfg holds: for each level whether its messages are wanted.
using WantedLevels = std::array<uint8_t, sizeof(yfw_debug_cfg::opaque)>;
constexpr std::size_t kLongestMessage = std::size_t{16} << 10;

Channel &channel(LogLevel level) {
  return level == LogLevel::error ? error_channel : trace_channel;
}

void write(Channel &to, const char *text) {
  std::FILE *file = to.sink == LogSink::standard_error ? stderr : to.file.get();
  if (to.sink == LogSink::none || file == nullptr) return;
  std::fputs(text, file);
  std::fputc('\n', file);
  std::fflush(file);
}

/// The message itself, behind "ERR: YFW: ctx=0x...,".
const char *message_text(const char *line) {
  const char *context = std::strstr(line, "ctx=");
  const char *comma = context == nullptr ? nullptr : std::strchr(context, ',');
  return comma == nullptr ? line : comma + 1;
}

/// Takes "#7: TRC: function:line ctx=0x...,text" apart.
void observe_line(Observer &observer, std::string_view line) {
  const std::size_t level = line.find(": ");
  if (level == std::string_view::npos || line.size() < level + 7) return;
  const std::size_t function = level + 7;
  const std::size_t colon = line.find(':', function);
  const std::size_t context = line.find(" ctx=", function);
  const std::size_t comma = line.find(',', context == std::string_view::npos ? line.size() : context);
  if (colon == std::string_view::npos || comma == std::string_view::npos) return;
  observer.message(line.substr(level + 2, 3), line.substr(function, colon - function),
                   line.substr(comma + 1));
}

void remember_line(LightTrace &ring, const char *text) {
  if (ring.lines.size() < ring.capacity) {
    ring.lines.emplace_back(text);
    return;
  }
  if (ring.capacity == 0) return;
  ring.lines[ring.next] = text;
  ring.next = (ring.next + 1) % ring.capacity;
}

void print_tree(std::string &text, const vidl_yfw_datatree &node, std::size_t depth) {
  constexpr std::size_t kDeepest = 64;
  text.append("\n").append(2 * depth + 2, ' ').append(tag_of(node));
  if (node.data != nullptr) text.append(" = \"").append(node.data).append("\"");
  if (node.operation != YMAP_OP_NONE) text.append(" operation ").append(std::to_string(node.operation));
  if (depth == kDeepest) return;
  for (const vidl_yfw_datatree &below : children(node)) print_tree(text, below, depth + 1);
}

}  // namespace

Observer *observer_now = nullptr;

Observer::~Observer() = default;

void set_observer(Observer *observer) {
  observer_now = observer;
}

void set_log_sink(LogLevel level, LogSink sink, const std::filesystem::path &file) {
  std::unique_ptr<std::FILE, FileCloser> opened;
  if (sink == LogSink::file) {
    opened.reset(std::fopen(file.c_str(), "ae"));
    if (!opened) {
      throw std::runtime_error("cannot open the trace file " + file.string() + ": " + std::strerror(errno));
    }
  }
  Channel &to = channel(level);
  to.sink = sink;
  to.file = std::move(opened);
}

void set_light_trace(std::size_t lines) {
  light_trace = {lines, {}, 0};
}

void dump_light_trace(std::ostream &out) {
  const std::size_t count = light_trace.lines.size();
  for (std::size_t i = 0; i < count; ++i) out << light_trace.lines[(light_trace.next + i) % count] << '\n';
  light_trace.lines.clear();
  light_trace.next = 0;
}

void attach_logs(yfw_map_ctx &ctx, bool errors) {
  WantedLevels wanted{};
  if (errors || error_channel.sink != LogSink::none) wanted[static_cast<std::size_t>(LogLevel::error)] = 1;
  if (trace_channel.sink != LogSink::none)
    std::fill_n(wanted.begin(), static_cast<int>(LogLevel::trace) + 1, 1);
  std::memcpy(ctx.debug_cfg.opaque, wanted.data(), wanted.size());
  ctx.err_log = &error_channel;
  ctx.trc_log = &trace_channel;
  ctx.ltrace = &light_trace;
  ctx.ltrace_on = light_trace.capacity != 0 || observer_now != nullptr ? 1 : 0;
}

}  // namespace yfw

// ---- Services -------------------------------------------------------------------------------------

using namespace yfw;

int yfw_debug_should_log(const yfw_debug_cfg *cfg, int level) {
  // A part of the context, so never nullptr; asked at each trace point, and mostly for nothing. Levels beyond
  // the known ones come round to some of these.
  return cfg->opaque[static_cast<unsigned>(level) % std::size(cfg->opaque)];
}

void _nos_dt_log_filter_adv(void *log, int, int, int, int, int, uint32_t *, const char *format, ...) {
  if (log == nullptr || format == nullptr) return;
  auto &to = *static_cast<Channel *>(log);
  Request *request = Request::running();
  const bool reason = to.level == LogLevel::error && request != nullptr && !request->in_fill() &&
                      request->direction() == Observer::Direction::on;
  if (to.sink == LogSink::none && !reason) return;
  std::array<char, kLongestMessage> line;
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line.data(), line.size(), format, arguments);
  va_end(arguments);
  write(to, line.data());
  if (reason) request->errors.traced(message_text(line.data()), request->walk_text());
}

void _lstrace(void *ltrace, uint64_t, const char *text) {
  if (ltrace == nullptr || text == nullptr) return;
  remember_line(*static_cast<LightTrace *>(ltrace), text);
  if (observer_now != nullptr) observe_line(*observer_now, text);
}

uint32_t ret_nc_yfw_trace_index_incr(void) {
  static std::atomic<uint32_t> index = 0;
  return ++index;
}

void yfw_map_print_datatree_internal(yfw_map_ctx *ctx, vidl_yfw_datatree *node, const char *label) {
  if (ctx == nullptr || trace_channel.sink == LogSink::none) return;
  std::string text = label == nullptr ? "tree" : label;
  if (node == nullptr) {
    text += ": none";
  } else {
    print_tree(text, *node, 0);
  }
  write(trace_channel, text.c_str());
}
