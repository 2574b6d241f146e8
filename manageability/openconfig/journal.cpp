// Entries of the record for the journal and syslog.
#include "journal.hpp"

#include <dlfcn.h>
#include <sys/uio.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>
#include <vector>

#include "change_record.hpp"
#include "printable.hpp"

namespace ymap {
namespace {

using Send = decltype(&sd_journal_sendv);

/// Loaded when there is something to send: that takes longer than most of what is not recorded.
Send journal() {
  if (::access("/run/systemd/journal/socket", W_OK) != 0) return nullptr;
  static void *const library = ::dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return nullptr;
  return reinterpret_cast<Send>(::dlsym(library, "sd_journal_sendv"));
}

std::string summary_of(const RecordEntry &entry) {
  auto text = entry.user + ": " + entry.operation;
  if (!entry.target.empty()) text += " " + entry.target;
  if (!entry.confirm.empty()) text += " (confirmed commit: " + entry.confirm + ")";
  for (const auto &change : entry.changes)
    text += " " + change.path + " " + change.before.value_or("-") + " -> " + change.after.value_or("-");
  text += ": " + entry.result;
  if (!entry.message.empty()) text += ", " + entry.message;
  return escaped(text);
}

}  // namespace

void send_to_journal(const RecordEntry &entry, const std::string &line) {
  const char *wish = std::getenv("YMAP_JOURNAL");
  if (wish != nullptr && std::string_view(wish) == "none") return;
  const int priority = entry.result == "done" ? LOG_NOTICE : LOG_WARNING;
  if (const auto send = journal()) {
    std::vector<std::string> fields = {
        "MESSAGE=" + summary_of(entry),
        "PRIORITY=" + std::to_string(priority),
        "SYSLOG_FACILITY=" + std::to_string(LOG_FAC(LOG_AUTHPRIV)),
        "SYSLOG_IDENTIFIER=ymap",
        "YMAP_USER=" + entry.user,
        "YMAP_PEER=" + entry.peer,
        "YMAP_FRONT=" + entry.front,
        "YMAP_SESSION=" + std::to_string(entry.session),
        "YMAP_OPERATION=" + entry.operation,
        "YMAP_CONFIRM=" + entry.confirm,
        "YMAP_RESULT=" + entry.result,
        "YMAP_RECORD=" + line,
    };
    for (const auto &group : entry.groups) fields.push_back("YMAP_GROUP=" + group);
    for (const auto &change : entry.changes) fields.push_back("YMAP_PATH=" + change.path);
    std::vector<iovec> parts;
    parts.reserve(fields.size());
    for (auto &field : fields) parts.push_back({field.data(), field.size()});
    if (send(parts.data(), static_cast<int>(parts.size())) == 0) return;
  }
  ::openlog("ymap", LOG_PID, LOG_AUTHPRIV);
  ::syslog(priority, "%s", line.c_str());
  ::closelog();
}

}  // namespace ymap
