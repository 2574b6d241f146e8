// Reads and edits of the device: configuration and live values as one tree, edits under the folder's lock.
#include "device.hpp"

#include <algorithm>
#include <chrono>
#include <utility>

#include "device_impl.hpp"
#include "factory.hpp"
#include "hash.hpp"
#include "live.hpp"
#include "native_filter.hpp"

namespace device {

namespace {

uint64_t nanoseconds_now() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

// Where writers keep no mark two versions of a file can share all of their stamp if they are written within
// one tick of the file system's clock, so a file this young is read again. Nanoseconds.
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

std::shared_ptr<const Descriptor> Device::Impl::lock() {
  if (auto mine = held.lock()) return mine;
  auto made = std::make_shared<const Descriptor>(folder.lock());
  held = made;
  return made;
}

std::shared_ptr<const void> Device::transaction() {
  return impl_->lock();
}

void Device::Impl::refresh() {
  if (version && *version == folder.version()) return;
  auto found = folder.load();
  if (found.text != loaded) {
    running = parse(found.text, found.label != 0 && found.label == label_of({std::string_view(found.text)}));
    pieces.reset();
    guest_data.reset();
    ++changes;
  }
  const auto &stamp = found.version.stamp;
  const auto age = static_cast<int64_t>(nanoseconds_now()) - std::max(stamp.modified, stamp.changed);
  version.reset();
  loaded.reset();
  if (found.version.generation || age > kTooYoung)
    version = found.version;
  else
    loaded.emplace(std::move(found.text));
}

/// The mark of a text that is valid by the modules as they are: whoever finds it need not validate the text
/// again. 0 for one that is too large to be worth it.
uint64_t Device::Impl::label_of(const std::vector<std::string_view> &parts) const {
  constexpr size_t largest = 16U << 10;
  size_t size = 0;
  for (const std::string_view part : parts) size += part.size();
  if (size > largest) return 0;
  std::string whole;
  whole.reserve(size);
  for (const std::string_view part : parts) whole += part;
  return text_hash(whole, schema.hash());
}

void Device::Impl::check_not_locked(Datastore datastore) const {
  const auto lock = Sessions::lock_state(folder.path(), datastore);
  if (!lock || lock->holder == session) return;
  const auto user = Sessions::user_of(folder.path(), lock->holder);
  throw EditError("the " + std::string(name_of(datastore)) + " datastore is locked by session " +
                      std::to_string(lock->holder) + (user.empty() ? "" : " of user " + user),
                  "in-use", {}, nullptr);
}

Tree Device::Impl::parse(const std::string &text, bool is_valid) const {
  const auto damaged = [this](const std::string &reason) {
    return FolderError("the running configuration " + folder.running_file().string() +
                       " is damaged: " + reason +
                       "; restore it from a backup, or use an empty folder to begin with factory data");
  };
  if (text.find_first_not_of(kJsonSpace) == std::string::npos) throw damaged("it is empty");
  if (text.find('\0') != std::string::npos) throw damaged("it holds zero bytes");
  if (!guest.module.empty() && text.find('"' + guest.module + ':' + guest.top + '"') != std::string::npos)
    schema.load_guest();
  schema.clear_errors();
  lyd_node *tree = nullptr;
  const LY_ERR result =
      lyd_parse_data_mem(schema.context(), text.c_str(), LYD_JSON,
                         LYD_PARSE_STRICT | LYD_PARSE_NO_STATE | (is_valid ? uint32_t{LYD_PARSE_ONLY} : 0U),
                         is_valid ? 0U : uint32_t{LYD_VALIDATE_NO_STATE}, &tree);
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
  remove_implicit(tree);
  return Tree(tree);
}

namespace {

std::vector<PlainNode> plain_children(const lyd_node *parent) {
  std::vector<PlainNode> nodes;
  for (const lyd_node *node = lyd_child(parent); node != nullptr; node = node->next) {
    const bool is_leaf = (node->schema->nodetype & LYD_NODE_TERM) != 0;
    nodes.push_back({node->schema->name, is_leaf ? lyd_get_value(node) : "", is_leaf,
                     lysc_is_key(node->schema) != 0, plain_children(node)});
  }
  return nodes;
}

std::vector<RequestNode> request_nodes(const std::vector<PlainNode> &nodes, std::string_view ns) {
  std::vector<RequestNode> request;
  for (const PlainNode &node : nodes) {
    RequestNode made;
    made.name = node.name;
    made.ns = ns;
    if (node.is_leaf) made.value = node.value;
    made.children = request_nodes(node.children, ns);
    request.push_back(std::move(made));
  }
  return request;
}

}  // namespace

const std::vector<RequestNode> &Device::Impl::begun(const std::vector<RequestNode> &request, const Tree &tree,
                                                    std::vector<RequestNode> &room) const {
  const bool is_meant = !guest.factory.empty() && std::ranges::any_of(request, [&](const RequestNode &node) {
    return node.name == guest.top && node.ns == guest.ns;
  });
  if (!is_meant || schema.find_guest(tree.get()) != nullptr) return request;
  room.resize(1);
  room.front().name = guest.top;
  room.front().ns = guest.ns;
  room.front().children = request_nodes(guest.factory, guest.ns);
  room.insert(room.end(), request.begin(), request.end());
  return room;
}

std::shared_ptr<const std::vector<PlainNode>> Device::guest() const {
  const LogScope log;
  impl_->refresh();
  auto &data = impl_->guest_data;
  if (data) return data;
  const lyd_node *stored = impl_->schema.find_guest(impl_->running.get());
  data = std::make_shared<const std::vector<PlainNode>>(stored == nullptr ? impl_->guest.factory
                                                                          : plain_children(stored));
  return data;
}

std::vector<PlainNode> Device::guest_after(const std::vector<RequestNode> &request) const {
  const LogScope log;
  impl_->refresh();
  return impl_->guest_after(impl_->running, request, Edited::Check::the_whole);
}

std::vector<PlainNode> Device::candidate_guest(const std::vector<RequestNode> &request) const {
  const LogScope log;
  return impl_->guest_after(impl_->candidate_or_running(), request, Edited::Check::each_node);
}

std::vector<PlainNode> Device::Impl::guest_after(const Tree &tree, const std::vector<RequestNode> &request,
                                                 Edited::Check check) const {
  std::vector<RequestNode> room;
  const Edited edited(schema, tree, begun(request, tree, room), Edited::Scope::everything, check);
  const lyd_node *found = schema.find_guest(edited.all());
  return found == nullptr ? guest.factory : plain_children(found);
}

Device::Device(std::filesystem::path folder, const std::filesystem::path &models,
               std::optional<uint64_t> clock, Guest guest)
    : impl_(std::make_unique<Impl>(std::move(folder), models, clock, std::move(guest))) {
  const LogScope log;
  if (!impl_->folder.holds_running()) {
    const auto factory = factory_configuration();
    impl_->parse(std::string(factory), false);
    impl_->folder.fill_if_empty(factory, impl_->label_of({factory}));
  }
  impl_->refresh();
}

Device::~Device() = default;

uint64_t Device::version() const {
  const LogScope log;
  impl_->refresh();
  return impl_->changes;
}

ReadCount Device::read(const std::vector<RequestNode> &filter, AnswerSink &sink, Content content) const {
  const LogScope log;
  impl_->refresh();
  const std::vector<FilterNode> bound = bind_filter(impl_->schema, filter);
  ReadCount count;
  const lyd_node *running = impl_->running.get();
  const bool all = content == Content::all;
  // Modules come in the order of their names.
  if (all) give_selected(bound, operating_values(impl_->schema, running, bound), kOtsOperNs, sink, count);
  give_selected(bound, running, sink, count);
  if (all)
    give_selected(bound, histories(impl_->schema, running, impl_->clock.value_or(nanoseconds_now()), bound),
                  kPmengineNs, sink, count);
  return count;
}

void Device::edit(const std::vector<RequestNode> &request) {
  const LogScope log;
  // Read under the lock: the edit applies to what the writer before this one has left.
  const auto lock = impl_->lock();
  impl_->refresh();
  impl_->check_not_locked(Datastore::running);
  impl_->edit(*lock, request);
}

void Device::Impl::edit(const Descriptor &lock, const std::vector<RequestNode> &request) {
  std::vector<RequestNode> room;
  const std::vector<RequestNode> &whole = begun(request, running, room);
  std::optional<Edited> edited(std::in_place, schema, running, whole);
  std::optional<RunningText> text;
  if (edited->is_by_entry()) {
    if (!pieces) pieces.emplace(schema, running.get());
    text = pieces->after(*edited);
    if (!text) edited.emplace(schema, running, whole, Edited::Scope::everything);
  }
  store(lock, *edited, std::move(text));
}

void Device::Impl::store(const Descriptor &lock, Edited &edited, std::optional<RunningText> text) {
  if (!text) text.emplace(schema, edited.all());
  version.reset();
  const auto parts = text->pieces();
  const Version stored = folder.store(lock, parts, label_of(parts));
  if (!edited.is_by_entry()) guest_data.reset();
  edited.commit(running);
  ++changes;
  text->settle();
  pieces = std::move(text);
  loaded.reset();
  if (stored.generation) version = stored;
}

void Device::test(const std::vector<RequestNode> &request) const {
  const LogScope log;
  impl_->refresh();
  std::vector<RequestNode> room;
  const Edited edited(impl_->schema, impl_->running, impl_->begun(request, impl_->running, room));
}

void Device::act_for(uint32_t session) {
  impl_->session = session;
}

}  // namespace device
