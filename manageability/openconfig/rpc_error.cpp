// The texts of a refusal.
#include "rpc_error.hpp"

#include <cstddef>

#include "printable.hpp"

namespace ymap {
namespace {

constexpr std::size_t kLongestText = 1000;  ///< bytes of a message or a path

/// Cuts the value of a key; of lists the model has one in every path.
void shorten_path(std::string &path) {
  const auto first = path.find_first_of("'\"");
  if (first != std::string::npos) {
    const auto last = path.rfind(path[first]);
    const auto value = last == first ? std::string() : shortened(path.substr(first + 1, last - first - 1));
    if (last != first) path.replace(first + 1, last - first - 1, value);
  }
  if (path.size() > kLongestText) path = shortened(path);
}

Fault short_fault(Fault fault) {
  if (fault.message.size() > kLongestText) fault.message = shortened(fault.message);
  if (fault.path.size() > kLongestText) shorten_path(fault.path);
  for (auto *name : {&fault.bad_attribute, &fault.bad_element, &fault.bad_namespace})
    *name = shortened(*name);
  return fault;
}

}  // namespace

RpcError::RpcError(Fault fault) : std::runtime_error(""), fault_(short_fault(std::move(fault))) {
  static_cast<std::runtime_error &>(*this) = std::runtime_error(fault_.message);
}

}  // namespace ymap
