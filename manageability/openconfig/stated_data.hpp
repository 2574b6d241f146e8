/// \file
/// What an edit by default operation "none" says beside its operations (RFC 6241, section 7.2).
#pragma once

#include "datatree.hpp"
#include "mapper.hpp"
#include "schema.hpp"

namespace ymap {

/// Checks all that such an edit says: its values as if they were set, and that what it gives no operation is
/// there. `stated` is the edit as a merge. Throws yfw::Refusal for values, and RpcError: data-missing.
void check_stated(const Schema &schema, const yfw::Datatree &stated, yfw::Mapper &mapper);

}  // namespace ymap
