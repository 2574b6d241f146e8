/// \file
/// The words of NETCONF's operation attribute (RFC 6241, section 7.2).
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "ymap_types.h"

namespace ymap {

inline constexpr std::pair<std::string_view, uint32_t> kOperationWords[] = {
    {"merge", YMAP_OP_MERGE},   {"create", YMAP_OP_CREATE}, {"replace", YMAP_OP_REPLACE},
    {"delete", YMAP_OP_DELETE}, {"remove", YMAP_OP_REMOVE},
};

inline std::optional<uint32_t> operation_of(std::string_view word) {
  for (const auto &[known, operation] : kOperationWords)
    if (known == word) return operation;
  return std::nullopt;
}

/// The empty text for no operation, or one that is not NETCONF's.
inline std::string_view operation_word(uint32_t operation) {
  for (const auto &[word, known] : kOperationWords)
    if (known == operation) return word;
  return {};
}

}  // namespace ymap
