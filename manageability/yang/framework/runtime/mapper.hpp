/// \file
/// Runs OpenConfig requests through a mapping plug-in and a native datastore.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "datatree.hpp"
#include "export.hpp"
#include "plugin.hpp"

namespace yfw {

/// A refused request. `status` is the plug-in's; a refusal by the native datastore has status 0 and brings
/// its own RFC 6241 error-tag. `path` is the OpenConfig path with its keys, module-prefixed at its top
/// ("/openconfig-optical-amplifier:optical-amplifier/amplifiers/amplifier[name='0/0-AMP-PRE0']/config").
struct YFW_EXPORT Refusal : std::runtime_error {
  using std::runtime_error::runtime_error;
  verrno status = 0;
  std::string error_tag;  ///< set by native refusals only
  std::string path;
  std::string bad_element;  ///< the tag at fault, or empty
  std::string type;         ///< the layer of a native refusal that told one; else empty
  uint32_t session_id = 0;  ///< of the session that holds a lock, by a native refusal; 0 for none
  std::string app_tag;      ///< RFC 6241, section 4.3, by a native refusal
};

/// What a native datastore throws: which node of the native request it refuses, and why.
struct YFW_EXPORT NativeRefusal : std::runtime_error {
  using std::runtime_error::runtime_error;
  std::string error_tag;  ///< RFC 6241, appendix A
  const vidl_yfw_datatree *node = nullptr;
  /// Of what is refused where no node of the request is: a native path, told as it is, or none.
  std::optional<std::string> path;
  std::string type;         ///< the layer that refuses; empty: not told
  uint32_t session_id = 0;  ///< of the session that holds a lock; 0 for none
  std::string app_tag;      ///< RFC 6241, section 4.3
};

/// The device's native datastore, as the framework sees it.
class YFW_EXPORT NativeDatastore {
 public:
  virtual ~NativeDatastore() = default;
  /// Answers a native subtree filter (RFC 6241, section 6): adds the selected data below the root of
  /// `answer`.
  virtual void read(const Datatree &request, Datatree &answer) = 0;
  /// Applies a native edit as one transaction, or throws NativeRefusal and changes nothing.
  virtual void edit(const Datatree &request) = 0;
  /// The same as read() for a request of configuration alone (YMAP_REQ_GET_CONFIG), which some devices answer
  /// by another operation.
  virtual void read_config(const Datatree &request, Datatree &answer) { read(request, answer); }
};

/// One OpenConfig request (or answer) with its request type and content selection.
struct Read {
  const Datatree *filter;         ///< optical-amplifier subtree filter; an empty tree selects everything
  uint32_t type = YMAP_REQ_GET;   ///< YMAP_REQ_GET_CONFIG or YMAP_REQ_GET
  uint32_t content_selector = 0;  ///< YMAP_CONTENT_STATE_ONLY leaves out configuration
};

class YFW_EXPORT Mapper {
 public:
  /// Both must outlive the mapper. One request at a time, on one thread.
  Mapper(const Plugin &plugin, NativeDatastore &datastore);

  /// The OpenConfig answer, pruned to the filter. Throws Refusal. An answer or a native request may
  /// outlive the mapper and the plug-in, but not the plug-in's registration record.
  Datatree read(const Read &request);
  /// Runs an edit whose top is optical-amplifier, operations on its nodes. Throws Refusal; then nothing is
  /// stored.
  void edit(const Datatree &request);

  /// The native requests that read() and edit() would send, in order; nothing is sent.
  std::vector<Datatree> translate_read(const Read &request);
  Datatree translate_edit(const Datatree &request);

 private:
  const Plugin &plugin_;
  NativeDatastore &datastore_;
};

}  // namespace yfw
