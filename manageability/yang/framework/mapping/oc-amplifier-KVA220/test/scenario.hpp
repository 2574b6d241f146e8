/// \file
/// One call into the loaded plug-in: the records it needs, the trees as text, the outcome as text.
#ifndef YMAP_TEST_SCENARIO_HPP
#define YMAP_TEST_SCENARIO_HPP

#include <string>
#include <vector>

#include "recorder.hpp"

namespace ymap_test {

// Module prefixes of generated names.
inline const std::string kOn = "ymap_on_oc_opt_ampli_openconfigopticalamplifier_";
inline const std::string kIfmgr = "ymap_no_oc_amplifier_kva220_velmnaltoifmgrcfg_";
inline const std::string kOtsCfg = "ymap_no_oc_amplifier_kva220_velmnaltocontrollerotscfg_";
inline const std::string kOtsOper = "ymap_no_oc_amplifier_kva220_velmnaltocontrollerotsoper_";
inline const std::string kPm = "ymap_no_oc_amplifier_kva220_velmnaltopmengineoper_";

/// Loads the plug-in, unless one is loaded. Throws std::runtime_error with the loader's message.
void load_plugin(const std::string &file = YMAP_PLUGIN);
/// Closes it; true when the loader really let go of it.
bool unload_plugin();
/// Address of an exported name; throws std::runtime_error when there is none.
void *symbol(const std::string &name);
bool has_symbol(const std::string &name);

template <typename Function>
Function *function(const std::string &name) {
  return reinterpret_cast<Function *>(symbol(name));
}

using NodeFunction = verrno(yfw_map_ctx *, vidl_yfw_datatree *, vidl_yfw_datatree *);
using ContainerFunction = verrno(yfw_map_ctx *, vidl_yfw_datatree *, uint32_t, vidl_yfw_datatree *);
using TextFunction = const char *(yfw_map_ctx *, vidl_yfw_datatree *, vidl_yfw_datatree *);

/// Text without the indentation and the empty lines that its place in a source file gave it. `|` ends the
/// indentation of a line that has one of its own.
std::string block(const std::string &raw);

/// A request in progress. Reset of the recorder at its beginning; at its end the error copies are freed as
/// their owner frees them, and anything else still allocated is a failure of the running test.
class Scenario {
 public:
  explicit Scenario(uint32_t type = YMAP_REQ_GET);
  ~Scenario();
  Scenario(const Scenario &) = delete;
  Scenario &operator=(const Scenario &) = delete;

  /// Texts of the two slots; NULL leaves a slot unset for the length of the scenario.
  Scenario &slots(const char *pre, const char *bst);
  /// The request as the framework keeps it (`reg_dup_datatree`).
  Scenario &request_copy(const std::string &tree);
  /// content_selector 2, present by the request's bit, by the record's own, or not at all.
  Scenario &state_only(bool request_bit, bool own_bit);
  /// Puts nodes on the walk path and makes the last one the current entry of `list`, if given.
  Scenario &on_path(const std::vector<vidl_yfw_datatree *> &nodes, const std::string &list = "");

  /// Plants the tree and calls the function; status and error copies end the outcome.
  std::string call(const std::string &name, const std::string &tree);
  std::string call(const std::string &name, vidl_yfw_datatree *node);
  std::string call_text(const std::string &name, vidl_yfw_datatree *node);
  /// With an output tree or with NULL in its place; `text`: the function returns one.
  std::string invoke(const std::string &name, vidl_yfw_datatree *node, bool output, bool text);
  /// What was recorded so far.
  std::string outcome() const { return recorder.text(); }
  /// The two slots as `pre|bst`, NULL for an unset one.
  static std::string slot_texts();

  yfw_map_ctx ctx{};
  yfw_map_state state{};
  yfw_map_request request{};
  vidl_yfw_datatree out{};
  vidl_yfw_datatree *root = nullptr;  ///< the tree that the last call planted
  Recorder &recorder;

 private:
  void end_with(const std::string &result);
  char *kept_pre_ = nullptr;
  char *kept_bst_ = nullptr;
};

}  // namespace ymap_test

#endif  // YMAP_TEST_SCENARIO_HPP
