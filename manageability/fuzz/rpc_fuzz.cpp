// Bytes as the text that `ymap rpc` and `ymap translate` read. Every text ends in a reply that is an XML
// document; a refused one stores nothing, and nothing but a refusal is thrown.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "bench_device.hpp"
#include "libyang_versions.hpp"
#include "openconfig_request.hpp"
#include "rpc_error.hpp"
#include "rpc_reply.hpp"
#include "session.hpp"

namespace {

constexpr auto kLayout = ymap::Layout::indented;

[[noreturn]] void fail(const std::string &what, const std::string &text) {
  std::fprintf(stderr, "rpc_fuzz: %s:\n%s\n", what.c_str(), text.c_str());
  std::abort();
}

// One context for all inputs: a new one takes longer than a whole request.
void expect_document(const std::string &text) {
  static ly_ctx *context = [] {
    ly_ctx *made = nullptr;
    if (libyang::new_context(&made) != LY_SUCCESS) fail("no libyang context", "");
    return made;
  }();
  lyd_node *tree = nullptr;
  if (lyd_parse_data_mem(context, text.c_str(), LYD_XML, LYD_PARSE_ONLY | LYD_PARSE_OPAQ, 0, &tree) !=
      LY_SUCCESS)
    fail(std::string("no XML document, ") + ly_errmsg(context), text);
  lyd_free_all(tree);
}

/// What the tool prints for the text.
std::string reply_to(ymap_fuzz::BenchDevice &bench, std::string_view text) {
  auto &session = bench.session();
  const ymap::RpcMessage message(text);
  try {
    const auto request = message.request(session.schema());
    // What cannot be translated is refused here, as run() would refuse it.
    for (const auto &native : session.translate(request))
      expect_document(ymap::native_request(request.kind, native));
    const auto content = content_of(session.schema(), request, session.run(bench.who(), request), kLayout);
    return ymap::reply(message.attributes(), content, kLayout);
  } catch (const ymap::RpcError &error) {
    if (bench.is_edited()) fail("a refused request was stored", error.what());
    return ymap::error_reply(message.attributes(), error.fault(), kLayout);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static ymap_fuzz::BenchDevice bench;
  bench.restore();
  expect_document(reply_to(bench, {reinterpret_cast<const char *>(data), size}));
  return 0;
}
