/// \file
/// GetRequest, and its answer.
#pragma once

#include <string>
#include <vector>

#include "leaves.hpp"

namespace ymap::telemetry {

/// Of one request; a message of a megabyte could hold many times as many.
inline constexpr int kMostPaths = 64;

/// The amplifiers that the patterns are about; none: any.
std::vector<std::string> amplifiers_of(const std::vector<Pattern> &patterns);

/// Throws RpcError for a model that is not served.
void check_models(const Schema &schema,
                  const google::protobuf::RepeatedPtrField<::gnmi::ModelData> &use_models);

/// Echo of a prefix, beside the origin that paths of the request have.
Echo echo_of(const ::gnmi::Path &prefix, const ::gnmi::Path &path);

/// A checked request.
class GetQuery {
 public:
  /// Throws RpcError.
  GetQuery(const Schema &schema, const ::gnmi::GetRequest &request);

  /// See amplifiers_of().
  std::vector<std::string> amplifiers() const { return amplifiers_of(patterns_); }

  /// A notification for each path. Throws RpcError: data-missing where there is nothing.
  ::gnmi::GetResponse answer(const Reading &reading) const;

 private:
  int64_t add_updates(Trail &trail, int64_t own_time, int64_t reading,
                      ::gnmi::Notification &notification) const;

  const Schema &schema_;
  Part part_;
  Encoding encoding_;
  std::vector<Pattern> patterns_;
  std::vector<Echo> echoes_;     ///< of each pattern
  std::size_t prefix_size_ = 0;  ///< of the answers, in elements
};

}  // namespace ymap::telemetry
