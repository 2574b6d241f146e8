// Bytes as the text that `ymap rpc` and `ymap translate` read. Every text ends in a reply that is an XML
// document; a refused one stores nothing, and nothing but a refusal is thrown.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "folder.hpp"
#include "libyang_versions.hpp"
#include "openconfig_request.hpp"
#include "rpc_error.hpp"
#include "rpc_reply.hpp"
#include "session.hpp"

namespace {

namespace fs = std::filesystem;

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

/// A device of this process alone, with factory data before every input.
class Bench {
 public:
  Bench() : path_(make_folder()), session_({YMAP_PLUGIN, YMAP_MODELS}, path_), folder_(path_) {
    session_.run(who_, {});
    factory_ = stored();
  }
  ~Bench() {
    std::error_code error;
    fs::remove_all(path_, error);
  }
  Bench(const Bench &) = delete;
  Bench &operator=(const Bench &) = delete;

  /// What the tool prints for the text.
  std::string reply_to(std::string_view text) {
    const ymap::RpcMessage message(text);
    try {
      const auto request = message.request(session_.schema());
      translate(request);
      const auto content = content_of(session_.schema(), request, session_.run(who_, request), kLayout);
      return ymap::reply(message.attributes(), content, kLayout);
    } catch (const ymap::RpcError &error) {
      if (stored() != factory_) fail("a refused request was stored", error.what());
      return ymap::error_reply(message.attributes(), error.fault(), kLayout);
    }
  }

  void restore() {
    if (stored() != factory_) folder_.store(folder_.lock(), {factory_}, 0);
  }

 private:
  static fs::path make_folder() {
    std::string name = fs::temp_directory_path() / "rpc_fuzz.XXXXXX";
    if (mkdtemp(name.data()) == nullptr) fail("no folder can be made", name);
    return name;
  }

  std::string stored() const { return folder_.load().text; }

  // Each as XML. What cannot be translated is refused here, as run() would refuse it.
  void translate(const ymap::Request &request) {
    for (const auto &native : session_.translate(request))
      expect_document(ymap::native_request(request.kind, native));
  }

  const ymap::Requester who_ = ymap::Requester::of_process("fuzzer");
  fs::path path_;
  ymap::Session session_;
  device::Folder folder_;
  std::string factory_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static Bench bench;
  bench.restore();
  expect_document(bench.reply_to({reinterpret_cast<const char *>(data), size}));
  return 0;
}
