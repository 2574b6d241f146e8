// Users and groups by the system's databases.
#include "requester.hpp"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace ymap {
namespace {

std::vector<gid_t> groups_of_process() {
  std::vector<gid_t> ids = {getegid()};
  const int count = getgroups(0, nullptr);
  if (count <= 0) return ids;
  std::vector<gid_t> more(static_cast<std::size_t>(count));
  const int got = getgroups(count, more.data());
  for (int at = 0; at < got; ++at) {
    const auto id = more[static_cast<std::size_t>(at)];
    if (std::ranges::find(ids, id) == ids.end()) ids.push_back(id);
  }
  return ids;
}

std::vector<gid_t> groups_of_user(const std::string &user) {
  const passwd *entry = getpwnam(user.c_str());
  if (entry == nullptr) return {};
  const auto primary = entry->pw_gid;
  int count = 16;
  std::vector<gid_t> ids(16);
  // Too short a list tells how long it must be.
  while (getgrouplist(user.c_str(), primary, ids.data(), &count) < 0 && count > static_cast<int>(ids.size()))
    ids.resize(static_cast<std::size_t>(count));
  ids.resize(static_cast<std::size_t>(std::max(count, 0)));
  return ids;
}

}  // namespace

Requester Requester::of_process(std::string front) {
  Requester requester(std::move(front), geteuid(), std::nullopt);
  requester.is_process_ = true;
  return requester;
}

Requester Requester::of_user(std::string user, std::string front) {
  const passwd *entry = getpwnam(user.c_str());
  const auto uid = entry == nullptr ? std::nullopt : std::optional(entry->pw_uid);
  return {std::move(front), uid, std::move(user)};
}

const std::string &Requester::user() const {
  if (!user_) {
    const passwd *entry = getpwuid(*uid_);
    user_ = entry == nullptr ? std::to_string(*uid_) : entry->pw_name;
  }
  return *user_;
}

const std::vector<std::string> &Requester::groups() const {
  if (groups_) return *groups_;
  groups_.emplace();
  for (const auto id : is_process_ ? groups_of_process() : groups_of_user(user())) {
    const group *entry = getgrgid(id);
    groups_->push_back(entry == nullptr ? std::to_string(id) : entry->gr_name);
  }
  return *groups_;
}

}  // namespace ymap
