// Reads and edits of the device: configuration and live values as one tree, edits under the folder's lock.
#include "device.hpp"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

#include "edit.hpp"
#include "factory.hpp"
#include "folder.hpp"
#include "libyang_versions.hpp"
#include "live.hpp"
#include "native_filter.hpp"
#include "sessions.hpp"
#include "yang.hpp"

namespace device {

namespace {

uint64_t nanoseconds_now() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

// Two versions of a file can share all of their stamp if they are written within one tick of the file
// system's clock, so a file this young is parsed again. Nanoseconds.
constexpr int64_t kTooYoung = 50'000'000;

constexpr const char *kJsonSpace = " \t\r\n";

/// What is wrong with a JSON text that libyang took; empty if nothing. It stops at the end of the first value
/// and takes no notice of what follows, and some versions take none of a comma behind the last item either.
std::string overlooked_fault(const std::string &text) {
  int depth = 0;
  bool quoted = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (quoted && c == '\\') {
      ++i;
    } else if (c == '"') {
      quoted = !quoted;
    } else if (!quoted && (c == '{' || c == '[')) {
      ++depth;
    } else if (!quoted && (c == '}' || c == ']')) {
      if (text[text.find_last_not_of(kJsonSpace, i - 1)] == ',') {
        const auto line =
            1 + std::ranges::count(text.begin(), text.begin() + static_cast<ptrdiff_t>(i), '\n');
        return "a comma stands behind a last item (line " + std::to_string(line) + ")";
      }
      const bool is_end = --depth == 0;
      if (is_end && text.find_first_not_of(kJsonSpace, i + 1) == std::string::npos) return {};
      if (is_end) break;
    }
  }
  return "something follows the end of the configuration";
}

}  // namespace

void TreeDeleter::operator()(lyd_node *tree) const {
  lyd_free_all(tree);
}

struct Device::Impl {
  Impl(std::filesystem::path path, const std::filesystem::path &models, std::optional<uint64_t> fixed_clock)
      : schema(models), folder(std::move(path)), clock(fixed_clock) {}

  /// Brings `running` up to date with the folder.
  void refresh();
  /// What the edit makes of `running`, in a copy.
  Tree edited(const std::vector<RequestNode> &request) const;
  void check_not_locked() const;
  Tree parse(const std::string &text) const;
  std::string print(const lyd_node *tree) const;
  uint64_t now() const { return clock.value_or(nanoseconds_now()); }

  Schema schema;  // outlives the trees
  Folder folder;
  std::optional<uint64_t> clock;
  Tree running;
  std::optional<std::string> stored;  ///< `running` as it is stored
  uint32_t session = 0;
  std::optional<Stamp> stamp;  ///< of `running`, if the file can be told by it
};

void Device::Impl::refresh() {
  if (stamp && *stamp == folder.stamp()) return;
  Stamp loaded;
  std::string text = folder.load(loaded);
  if (text != stored) {
    running = parse(text);
    stored = std::move(text);
  }
  // Until proven old enough, the file is read again each time.
  stamp.reset();
  const auto age = static_cast<int64_t>(nanoseconds_now()) - std::max(loaded.modified, loaded.changed);
  if (age > kTooYoung) stamp = loaded;
}

Tree Device::Impl::edited(const std::vector<RequestNode> &request) const {
  lyd_node *duplicate = nullptr;
  if (running != nullptr &&
      lyd_dup_siblings(running.get(), nullptr, LYD_DUP_RECURSIVE, &duplicate) != LY_SUCCESS) {
    throw std::bad_alloc();
  }
  Tree copy(duplicate);
  apply_edit(schema, copy, request);
  return copy;
}

void Device::Impl::check_not_locked() const {
  const auto lock = Sessions::lock_state(folder.path());
  if (!lock || lock->holder == session) return;
  throw EditError("the running datastore is locked by session " + std::to_string(lock->holder), "in-use", {},
                  nullptr);
}

Tree Device::Impl::parse(const std::string &text) const {
  const auto damaged = [this](const std::string &reason) {
    return FolderError("the running configuration " + folder.running_file().string() +
                       " is damaged: " + reason +
                       "; restore it from a backup, or use an empty folder to begin with factory data");
  };
  if (text.find_first_not_of(kJsonSpace) == std::string::npos) throw damaged("it is empty");
  if (text.find('\0') != std::string::npos) throw damaged("it holds zero bytes");
  schema.clear_errors();
  lyd_node *tree = nullptr;
  const LY_ERR result =
      lyd_parse_data_mem(schema.context(), text.c_str(), LYD_JSON, LYD_PARSE_STRICT | LYD_PARSE_NO_STATE,
                         LYD_VALIDATE_NO_STATE, &tree);
  if (result != LY_SUCCESS) {
    lyd_free_all(tree);
    std::string reason = schema.error_message();
    if (reason.ends_with('.')) reason.pop_back();
    const std::string place = schema.error_location();
    throw damaged(place.empty() ? reason : reason + " (" + place + ")");
  }
  if (const std::string fault = overlooked_fault(text); !fault.empty()) {
    lyd_free_all(tree);
    throw damaged(fault);
  }
  remove_empty_containers(tree);
  return Tree(tree);
}

std::string Device::Impl::print(const lyd_node *tree) const {
  // libyang prints nothing for no data, which would look like damage.
  if (tree == nullptr) return "{}\n";
  char *text = nullptr;
  if (lyd_print_mem(&text, tree, LYD_JSON, libyang::kPrintSiblings) != LY_SUCCESS) throw std::bad_alloc();
  std::string printed = text;
  std::free(text);
  return printed;
}

Device::Device(std::filesystem::path folder, const std::filesystem::path &models,
               std::optional<uint64_t> clock)
    : impl_(std::make_unique<Impl>(std::move(folder), models, clock)) {
  const LogScope log;
  impl_->folder.fill_if_empty(factory_configuration());
  impl_->refresh();
}

Device::~Device() = default;

Tree Device::read(const std::vector<RequestNode> &filter, ReadCount *count) const {
  const LogScope log;
  impl_->refresh();
  const std::vector<FilterNode> bound = bind_filter(impl_->schema, filter);
  ReadCount counted;
  Tree answer;
  copy_selected(bound, impl_->running.get(), answer, counted);
  const Tree live = live_values(impl_->schema, impl_->running.get(), impl_->now(), bound);
  copy_selected(bound, live.get(), answer, counted);
  if (count != nullptr) *count = counted;
  return answer;
}

void Device::edit(const std::vector<RequestNode> &request) {
  const LogScope log;
  // Read under the lock: the edit applies to what the writer before this one has left.
  const Descriptor lock = impl_->folder.lock();
  impl_->refresh();
  impl_->check_not_locked();
  Tree edited = impl_->edited(request);
  std::string text = impl_->print(edited.get());
  impl_->folder.store(text);
  impl_->running = std::move(edited);
  impl_->stored = std::move(text);
  impl_->stamp.reset();
  Folder::mark_used(lock);
}

void Device::test(const std::vector<RequestNode> &request) const {
  const LogScope log;
  impl_->refresh();
  impl_->edited(request);
}

void Device::act_for(uint32_t session) {
  impl_->session = session;
}

}  // namespace device
