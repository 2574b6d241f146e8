// The road of a request: to the plug-in, to the datastore, and back.
#include "mapper.hpp"

#include "answer.hpp"
#include "edit_request.hpp"
#include "native_read.hpp"
#include "read_jobs.hpp"
#include "request.hpp"

namespace yfw {
namespace {

/// Distinct unmapped nodes that a read may name before it is refused; the model has fewer.
constexpr int kRounds = 512;

std::string full_path(const Registration &registration, const std::string &path) {
  return "/" + registration.openconfig_module + ":" + (path.empty() ? registration.top : path);
}

/// Without its keys: "amplifier[name='x']" is "amplifier".
bool ends_with_step(const std::string &path, const std::string &tag) {
  return path == tag || path.ends_with("/" + tag);
}

std::string reason(Request &request, verrno status) {
  const ErrorNotes &errors = request.errors;
  if (status == YMAP_ERR_INVALID_VALUE && request.state().err_message != nullptr)
    return request.state().err_message;
  if (!errors.message().empty()) return errors.message();
  // Malformed nodes are only traced: no path is noted for them.
  if (status == YMAP_ERR_BAD_NODE && errors.path().empty() && !errors.last_trace().empty())
    return errors.last_trace();
  return verr_strerror(status);
}

Refusal refusal_of(const Registration &registration, Request &request, verrno status) {
  Refusal refusal(reason(request, status));
  const ErrorNotes &errors = request.errors;
  refusal.status = status;
  refusal.path = full_path(registration, errors.path());
  if (errors.path().empty() && status == YMAP_ERR_BAD_NODE) {
    refusal.path = full_path(registration, errors.last_trace_path());
  }
  if (!errors.path().empty() && !errors.tag().empty()) {
    refusal.bad_element = errors.tag();
    if (!ends_with_step(refusal.path, errors.tag())) refusal.path += "/" + errors.tag();
  }
  return refusal;
}

Refusal unknown_amplifier(const Registration &registration, const std::string &name) {
  std::string known;
  for (const std::string &instance : registration.instances) known += (known.empty() ? "" : ", ") + instance;
  Refusal refusal("there is no " + registration.list + " '" + name + "'; the device has " + known);
  const char quote = name.find('\'') == std::string::npos ? '\'' : '"';
  refusal.status = YMAP_ERR_INVALID_VALUE;
  refusal.path = full_path(registration, registration.top) + "/" + registration.list_container + "/" +
                 registration.list + "[" + registration.key + "=" + quote + name + quote + "]/" +
                 registration.key;
  refusal.bad_element = registration.key;
  return refusal;
}

using Chain = std::vector<const vidl_yfw_datatree *>;

/// The nodes from the top down to `target`; empty when it is not below `from`.
bool find_chain(const vidl_yfw_datatree &from, const vidl_yfw_datatree *target, Chain &chain) {
  for (const vidl_yfw_datatree &below : children(from)) {
    chain.push_back(&below);
    if (&below == target || find_chain(below, target, chain)) return true;
    chain.pop_back();
  }
  return false;
}

const vidl_yfw_datatree *source_below(const vidl_yfw_datatree &node) {
  for (const vidl_yfw_datatree &below : children(node)) {
    if (extra(below).source != nullptr) return extra(below).source;
    if (const vidl_yfw_datatree *source = source_below(below)) return source;
  }
  return nullptr;
}

/// The OpenConfig path of the request node that a native node came from: its own or the nearest one's.
/// `walked` is the top of the request.
std::string openconfig_path(const Registration &registration, const Datatree &sent,
                            const vidl_yfw_datatree *walked, const vidl_yfw_datatree *node) {
  Chain native;
  if (node == nullptr || !find_chain(*sent.root(), node, native)) return full_path(registration, {});
  const vidl_yfw_datatree *source = nullptr;
  for (auto at = native.rbegin(); at != native.rend() && source == nullptr; ++at) source = extra(**at).source;
  if (source == nullptr) source = source_below(*node);
  Chain steps{walked};
  if (source == nullptr || !find_chain(*walked, source, steps)) return full_path(registration, {});
  std::string path;
  for (const vidl_yfw_datatree *step : steps) {
    if (!path.empty()) path += '/';
    path += path_step(*step, has_tag(*step, registration.list), registration.key);
  }
  return full_path(registration, path);
}

/// What the datastore refuses of the native request `sent`, in terms of what the plug-in walked.
Refusal refusal_of(const Registration &registration, const NativeRefusal &native, const Datatree &sent,
                   const vidl_yfw_datatree *walked) {
  Refusal refusal(native.what());
  refusal.error_tag = native.error_tag;
  refusal.type = native.type;
  refusal.session_id = native.session_id;
  refusal.app_tag = native.app_tag;
  if (native.node == nullptr && native.path) {
    refusal.path = *native.path;
    return refusal;
  }
  refusal.path = openconfig_path(registration, sent, walked, native.node);
  const std::size_t last = refusal.path.find_last_of('/') + 1;
  if (refusal.path.back() != ']') refusal.bad_element = refusal.path.substr(last);
  return refusal;
}

// ---- Reads ----------------------------------------------------------------------------------------

/// One plug-in request of a read: the on direction, and later the no direction with the same state and slots.
/// The job must outlive it.
class ReadRun {
 public:
  ReadRun(const Plugin &plugin, const Read &read, ReadJob &job)
      : plugin_(plugin),
        request_(plugin.registration(), plugin.paths(), read.type, read.content_selector),
        duplicate_(job.request.root()),
        walked_(copy_record_tree(request_.arena(), *duplicate_->subtrees)) {}

  verrno ask() {
    return request_.run(Observer::Direction::on, plugin_.on_root(), walked_, native_.root(), duplicate_);
  }

  /// The OpenConfig answer made of a native one. What the plug-in rejects of it is traced and left out.
  Datatree answer(Datatree &native) {
    Datatree result;
    // The device's empty text is no value; the plug-in would take it for the number 0.
    drop_empty_values(*native.root());
    for (const NativeModule &module : plugin_.registration().native_modules) {
      for (vidl_yfw_datatree &top : children(*native.root())) {
        if (!same_text(module.ns.c_str(), namespace_of(top))) continue;
        const Walker walker = plugin_.no_root(module.name, tag_of(top));
        if (walker == nullptr) continue;
        request_.run(Observer::Direction::no, walker, &top, result.root(), duplicate_);
        answer_is_hollow_ = answer_is_hollow_ || request_.added_hollow();
      }
    }
    return result;
  }

  Request &request() { return request_; }
  Datatree &native() { return native_; }
  const vidl_yfw_datatree *walked() const { return walked_; }
  bool answer_is_hollow() const { return answer_is_hollow_; }

 private:
  const Plugin &plugin_;
  Request request_;
  vidl_yfw_datatree *duplicate_;  ///< root of the job's request
  vidl_yfw_datatree *walked_;     ///< its copy
  Datatree native_;
  bool answer_is_hollow_ = false;
};

/// The path of the node that the plug-in has no mapping for.
std::vector<std::string> unmapped_node(const ErrorNotes &errors) {
  std::vector<std::string> tags = errors.tags();
  if (!errors.tag().empty()) tags.push_back(errors.tag());
  return tags;
}

/// Asks the plug-in, without the nodes that it has no mapping for, and calls `use` with the request unless
/// nothing is left to ask. `unmapped` collects them, so that the next amplifier's request goes without them
/// at once.
template <typename Use>
void ask_mapped(const Plugin &plugin, const Read &read, ReadJob &job,
                std::vector<std::vector<std::string>> &unmapped, Use use) {
  const Registration &registration = plugin.registration();
  for (const auto &tags : unmapped) remove_nodes(registration, job, tags);
  for (int round = 0; child_count(*job.request.root()) != 0; ++round) {
    ReadRun run(plugin, read, job);
    const verrno status = run.ask();
    if (status == YMAP_OK) return use(run);
    const std::vector<std::string> tags = unmapped_node(run.request().errors);
    if (status != YMAP_ERR_UNSUPPORTED_TAG || round == kRounds || !remove_nodes(registration, job, tags)) {
      throw refusal_of(registration, run.request(), status);
    }
    unmapped.push_back(tags);
  }
}

/// A request that names no amplifier of the device, or has wrong keys: never accepted.
[[noreturn]] void judge(const Plugin &plugin, const Read &read, ReadJob &job) {
  ReadRun run(plugin, read, job);
  const verrno status = run.ask();
  if (status == YMAP_ERR_INVALID_VALUE || status == YMAP_ERR_LIST_KEY) {
    throw refusal_of(plugin.registration(), run.request(), status);
  }
  throw unknown_amplifier(plugin.registration(), job.instance);
}

/// Calls `use` for each plug-in request of a read with the native request to send.
template <typename Use>
void for_each_part(const Plugin &plugin, const Read &read, ReadPlan &plan, Use use) {
  std::vector<std::vector<std::string>> unmapped;
  for (ReadJob &job : plan.jobs) {
    if (job.kind == ReadJob::Kind::judge) judge(plugin, read, job);
    ask_mapped(plugin, read, job, unmapped, [&](ReadRun &run) {
      trim_native_read(run.native(), job.key_copies);
      if (child_count(*run.native().root()) != 0) use(job, run);
    });
  }
}

// ---- Edits ----------------------------------------------------------------------------------------

/// The plug-in's translation of an edit.
struct TranslatedEdit {
  Datatree native;                            ///< owns `walked` too
  const vidl_yfw_datatree *walked = nullptr;  ///< top of the request as the plug-in saw it
};

void refuse_unknown(const Registration &registration, const vidl_yfw_datatree &top) {
  const vidl_yfw_datatree *list = child(top, registration.list_container);
  if (list == nullptr) return;
  for (const vidl_yfw_datatree &entry : children(*list)) {
    const vidl_yfw_datatree *key =
        has_tag(entry, registration.list) ? child(entry, registration.key) : nullptr;
    if (key == nullptr || is_instance(registration, value_of(*key))) continue;
    throw unknown_amplifier(registration, std::string(value_of(*key)));
  }
}

/// A leaf that the request gives a value and the device has none for: a word of OpenConfig's only.
void refuse_unknown_words(const Registration &registration, const TranslatedEdit &edit,
                          const vidl_yfw_datatree &parent) {
  for (const vidl_yfw_datatree &node : children(parent)) {
    refuse_unknown_words(registration, edit, node);
    const vidl_yfw_datatree *source = extra(node).source;
    if (child_count(node) != 0 || has_value(node) || source == nullptr || !has_value(*source)) continue;
    if (yfw_map_is_request_delete(&node) != 0) continue;
    Refusal refusal("the device has no counterpart for the value '" + std::string(value_of(*source)) + "'");
    refusal.status = YMAP_ERR_INVALID_VALUE;
    refusal.path = openconfig_path(registration, edit.native, edit.walked, &node);
    throw refusal;
  }
}

TranslatedEdit translate(const Plugin &plugin, const Datatree &edit) {
  const Registration &registration = plugin.registration();
  TranslatedEdit result;
  const NormalEdit normal = normalise_edit(registration, edit, result.native);
  if (normal.top == nullptr) return result;
  result.walked = normal.top;
  Request request(registration, plugin.paths(), YMAP_REQ_EDIT, 0);
  const verrno status =
      request.run(Observer::Direction::on, plugin.on_root(), normal.top, result.native.root(), normal.root);
  if (status != YMAP_OK) throw refusal_of(registration, request, status);
  if (!normal.is_known) refuse_unknown(registration, *normal.top);
  if (request.added_valueless()) refuse_unknown_words(registration, result, *result.native.root());
  return result;
}

}  // namespace

Mapper::Mapper(const Plugin &plugin, NativeDatastore &datastore) : plugin_(plugin), datastore_(datastore) {}

Datatree Mapper::read(const Read &request) {
  Datatree answer;
  ReadPlan plan = split_read(plugin_.registration(), *request.filter);
  for_each_part(plugin_, request, plan, [&](const ReadJob &job, ReadRun &run) {
    Datatree found;
    try {
      if (request.type == YMAP_REQ_GET_CONFIG)
        datastore_.read_config(run.native(), found);
      else
        datastore_.read(run.native(), found);
    } catch (const NativeRefusal &native) {
      throw refusal_of(plugin_.registration(), native, run.native(), run.walked());
    }
    Datatree part = run.answer(found);
    if (run.answer_is_hollow()) drop_hollow(part);
    merge_answer(plugin_.registration(), std::move(part), job.instance, answer);
  });
  if (!plan.exact) prune_answer(*request.filter, answer);
  return answer;
}

void Mapper::edit(const Datatree &request) {
  const TranslatedEdit edit = translate(plugin_, request);
  if (child_count(*edit.native.root()) == 0) return;
  try {
    datastore_.edit(edit.native);
  } catch (const NativeRefusal &native) {
    throw refusal_of(plugin_.registration(), native, edit.native, edit.walked);
  }
}

std::vector<Datatree> Mapper::translate_read(const Read &request) {
  std::vector<Datatree> natives;
  ReadPlan plan = split_read(plugin_.registration(), *request.filter);
  for_each_part(plugin_, request, plan,
                [&](const ReadJob &, ReadRun &run) { natives.push_back(std::move(run.native())); });
  return natives;
}

Datatree Mapper::translate_edit(const Datatree &request) {
  return translate(plugin_, request).native;
}

}  // namespace yfw
