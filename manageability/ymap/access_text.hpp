/// \file
/// The access rules for people.
#pragma once

#include <string>

#include "session.hpp"
#include "terminal.hpp"

namespace ymap {

/// The rules in force, who is in which group, and how often access was denied. `who` sees what he may read.
/// Throws RpcError: access-denied.
std::string rules_text(Session &session, const Requester &who, const Terminal &terminal);

/// What `user` may do at a data node, or whether he may run an operation of that name, and by which rule.
/// Throws as above, and UsageError for what is no path.
std::string verdicts_text(Session &session, const Requester &who, const std::string &user,
                          const std::string &path, const Terminal &terminal);

}  // namespace ymap
