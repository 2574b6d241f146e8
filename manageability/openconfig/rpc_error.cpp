// The texts of a refusal.
#include "rpc_error.hpp"

#include <cstddef>

#include "printable.hpp"

namespace ymap {
namespace {

constexpr std::size_t kLongestText = 1000;  ///< bytes of a message or a path

/// Cuts the value of a key; of lists the model has one in every path.
std::string short_path(std::string path) {
  const auto first = path.find_first_of("'\"");
  const auto last = path.rfind(first == std::string::npos ? '\'' : path[first]);
  if (first != std::string::npos && last > first + 1)
    path.replace(first + 1, last - first - 1,
                 shortened(std::string_view(path).substr(first + 1, last - first - 1)));
  return path.size() <= kLongestText ? path : shortened(path);
}

Fault short_fault(Fault fault) {
  if (fault.message.size() > kLongestText) fault.message = shortened(fault.message);
  if (fault.path.size() > kLongestText) fault.path = short_path(std::move(fault.path));
  for (auto *name : {&fault.bad_attribute, &fault.bad_element, &fault.bad_namespace})
    *name = shortened(*name);
  return fault;
}

}  // namespace

RpcError::RpcError(Fault fault) : std::runtime_error(""), fault_(short_fault(std::move(fault))) {
  static_cast<std::runtime_error &>(*this) = std::runtime_error(fault_.message);
}

}  // namespace ymap
