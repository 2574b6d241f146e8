// Lines of the record, their file, and those who read it.
#include "change_record.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <thread>
#include <utility>

#include "date_and_time.hpp"
#include "journal.hpp"
#include "printable.hpp"

namespace ymap {
namespace {

namespace fs = std::filesystem;

constexpr int64_t kSecond = 1'000'000'000;

void add(std::string &line, std::string_view name, std::string_view value) {
  if (!value.empty()) line.append(" ").append(name).append("=\"").append(escaped(value)).append("\"");
}

/// A value may be the empty text.
void add_value(std::string &line, std::string_view name, const std::optional<std::string> &value) {
  if (value) line.append(" ").append(name).append("=\"").append(escaped(*value)).append("\"");
}

/// Reads "[id name="value" ...]..." from the front on.
class Elements {
 public:
  explicit Elements(std::string_view text) : rest_(text) {}

  /// The id of the next element; nothing at the end, or where it is none.
  std::optional<std::string_view> next() {
    if (!take('[')) return std::nullopt;
    return take_name(" ]");
  }
  /// The next parameter of the element; nothing behind the last.
  std::optional<std::pair<std::string_view, std::string>> parameter() {
    if (take(']')) return std::nullopt;
    if (!take(' ')) return fail();
    const auto name = take_name("=");
    if (!take('=') || !take('"')) return fail();
    for (std::size_t at = 0; at < rest_.size(); ++at) {
      if (rest_[at] == '\\') {
        ++at;
      } else if (rest_[at] == '"') {
        auto value = unescaped(rest_.substr(0, at));
        rest_.remove_prefix(at + 1);
        return std::pair(name, std::move(value));
      }
    }
    return fail();
  }
  /// All was in order.
  bool is_whole() const { return rest_.empty(); }

 private:
  bool take(char character) {
    if (!rest_.starts_with(character)) return false;
    rest_.remove_prefix(1);
    return true;
  }
  std::string_view take_name(std::string_view ends) {
    const auto name = rest_.substr(0, rest_.find_first_of(ends));
    rest_.remove_prefix(name.size());
    return name;
  }
  std::nullopt_t fail() {
    rest_ = "?";
    return std::nullopt;
  }

  std::string_view rest_;
};

template <typename Number>
bool read_number(std::string_view text, Number &number) {
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  return read.ec == std::errc() && read.ptr == text.data() + text.size();
}

std::string seconds_of(int64_t nanoseconds) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.6f",
                static_cast<double>(nanoseconds) / static_cast<double>(kSecond));
  return text.data();
}

/// A text of the entry by the name that lines have for it.
struct TextField {
  std::string_view name;
  std::string RecordEntry::*text;
};
constexpr std::array<TextField, 9> kTextFields = {{
    {"user", &RecordEntry::user},
    {"peer", &RecordEntry::peer},
    {"front", &RecordEntry::front},
    {"operation", &RecordEntry::operation},
    {"target", &RecordEntry::target},
    {"confirm", &RecordEntry::confirm},
    {"result", &RecordEntry::result},
    {"message", &RecordEntry::message},
    {"path", &RecordEntry::path},
}};

constexpr std::string_view kEntryId = "ymap@0";
constexpr std::string_view kChangeId = "change";

void read_parameter(std::string_view name, const std::string &value, RecordEntry &entry) {
  const auto *row = std::ranges::find(kTextFields, name, &TextField::name);
  if (row != kTextFields.end()) entry.*row->text = value;
  if (name == "session") read_number(value, entry.session);
  if (name == "group") entry.groups.push_back(value);
  if (name != "duration") return;
  constexpr double longest = 1e9;
  double seconds = 0;
  if (read_number(value, seconds) && seconds >= 0 && seconds < longest)
    entry.duration = static_cast<int64_t>(seconds * static_cast<double>(kSecond));
}

void read_parameter(std::string_view name, const std::string &value, Change &change) {
  if (name == "path") change.path = value;
  if (name == "before") change.before = value;
  if (name == "after") change.after = value;
}

std::string file_name(int old) {
  return old == 0 ? Record::kFile : Record::kFile + ("." + std::to_string(old));
}

bool is_plain(int descriptor, struct stat &status) {
  return descriptor >= 0 && ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// The file that entries are appended to, locked against others who would move it away; none where this user
/// may not write it. One who keeps the lock stops nobody: appending works without.
device::Descriptor open_to_append(const fs::path &folder) {
  constexpr auto patience = std::chrono::seconds(1);
  constexpr auto turn = std::chrono::milliseconds(2);
  const auto path = folder / Record::kFile;
  const auto end = std::chrono::steady_clock::now() + patience;
  while (true) {
    device::Descriptor file(
        ::open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666));
    struct stat opened {};
    if (!is_plain(file.get(), opened)) return device::Descriptor();
    if (opened.st_size == 0) device::share_rights(folder, file.get());
    const bool late = std::chrono::steady_clock::now() > end;
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && !late) {
      std::this_thread::sleep_for(turn);
      continue;
    }
    struct stat current {};
    if (late || (::stat(path.c_str(), &current) == 0 && current.st_ino == opened.st_ino)) return file;
  }
}

/// Of a writer who died in the middle of it.
bool ends_within_line(int descriptor, off_t size) {
  char last = '\n';
  return size > 0 && ::pread(descriptor, &last, 1, size - 1) == 1 && last != '\n';
}

void rotate(const fs::path &folder) {
  for (int old = Record::kOldFiles; old > 0; --old)
    ::rename((folder / file_name(old - 1)).c_str(), (folder / file_name(old)).c_str());
}

}  // namespace

std::string line_of(const RecordEntry &entry) {
  auto line = date_and_time(entry.time).append(" [").append(kEntryId);
  const auto add_texts = [&](std::size_t first, std::size_t last) {
    for (auto at = first; at < last; ++at) add(line, kTextFields[at].name, entry.*kTextFields[at].text);
  };
  add_texts(0, 1);
  for (const auto &group : entry.groups) add(line, "group", group);
  add_texts(1, 3);
  if (entry.session != 0) add(line, "session", std::to_string(entry.session));
  add_texts(3, kTextFields.size());
  add(line, "duration", seconds_of(entry.duration));
  line += ']';
  for (const auto &change : entry.changes) {
    line.append("[").append(kChangeId);
    add(line, "path", change.path);
    add_value(line, "before", change.before);
    add_value(line, "after", change.after);
    line += ']';
  }
  return line;
}

std::optional<RecordEntry> read_line(std::string_view line) {
  const auto space = line.find(' ');
  if (space == std::string_view::npos) return std::nullopt;
  const auto time = read_date_and_time(line.substr(0, space));
  Elements elements(line.substr(space + 1));
  if (!time || elements.next() != kEntryId) return std::nullopt;
  RecordEntry entry;
  entry.time = *time;
  while (auto parameter = elements.parameter()) read_parameter(parameter->first, parameter->second, entry);
  while (elements.next() == kChangeId) {
    auto &change = entry.changes.emplace_back();
    while (auto parameter = elements.parameter()) read_parameter(parameter->first, parameter->second, change);
    // Without values something below is another.
    if (change.before.has_value() != change.after.has_value())
      change.access = change.after ? Access::create : Access::remove;
  }
  if (!elements.is_whole() || entry.operation.empty()) return std::nullopt;
  return entry;
}

bool Record::append(const std::string &line) const {
  if (folder_.empty()) return false;
  auto file = open_to_append(folder_);
  struct stat status {};
  if (!is_plain(file.get(), status)) return false;
  if (status.st_size > kLargestFile) {
    rotate(folder_);
    auto next = open_to_append(folder_);
    if (is_plain(next.get(), status)) std::swap(file, next);
  }
  // Whole or not at all, to whoever reads meanwhile.
  const auto text = (ends_within_line(file.get(), status.st_size) ? "\n" : "") + line + "\n";
  return device::write_all(file.get(), text) == 0 && (!options_.required || ::fdatasync(file.get()) == 0);
}

bool Record::write(const RecordEntry &entry) const {
  const auto line = line_of(entry);
  send_to_journal(entry, line);
  return append(line);
}

RecordReader::RecordReader(fs::path folder) : folder_(std::move(folder)) {
  open_files();
}

/// From the newest on: what is moved away meanwhile is met again under its next name, and known.
void RecordReader::open_files() {
  std::vector<File> found;
  const auto has = [](const std::vector<File> &files, uint64_t inode) {
    return std::ranges::find(files, inode, &File::inode) != files.end();
  };
  for (int old = 0; old <= Record::kOldFiles; ++old) {
    device::Descriptor file(
        ::open((folder_ / file_name(old)).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (file.get() < 0 && errno == EACCES)
      device::folder_failure("cannot read", folder_ / file_name(old), errno,
                             "ask the device's owner for the right to");
    struct stat status {};
    if (!is_plain(file.get(), status) || has(found, status.st_ino)) continue;
    // What is older than a file that was read, was read.
    if (has(files_, status.st_ino)) break;
    found.insert(found.begin(), File{std::move(file), status.st_ino, {}});
  }
  std::ranges::move(found, std::back_inserter(files_));
}

void RecordReader::read(const Take &take) {
  constexpr std::size_t block = 1U << 16;
  if (watch_) {
    std::array<char, 4096> events{};
    while (::read(watch_->get(), events.data(), events.size()) > 0) continue;
  }
  open_files();
  for (auto &file : files_) {
    std::string text(block, '\0');
    ssize_t count = 0;
    while ((count = ::read(file.descriptor.get(), text.data(), text.size())) > 0) {
      file.rest.append(text, 0, static_cast<std::size_t>(count));
      std::size_t begin = 0;
      for (auto end = file.rest.find('\n'); end != std::string::npos; end = file.rest.find('\n', begin)) {
        if (const auto entry = read_line(std::string_view(file.rest).substr(begin, end - begin)))
          take(*entry);
        begin = end + 1;
      }
      file.rest.erase(0, begin);
    }
  }
  // What was moved away gets no more lines, once all is read.
  if (files_.size() > 1) files_.erase(files_.begin(), files_.end() - 1);
}

std::optional<int64_t> RecordReader::first_time(const fs::path &folder) {
  constexpr std::size_t longest = 40;  // a time, and a bit
  for (int old = Record::kOldFiles; old >= 0; --old) {
    const device::Descriptor file(
        ::open((folder / file_name(old)).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    std::string begin(longest, '\0');
    if (file.get() < 0 || ::read(file.get(), begin.data(), begin.size()) <= 0) continue;
    return read_date_and_time(std::string_view(begin).substr(0, begin.find(' ')));
  }
  return std::nullopt;
}

void RecordReader::skip() {
  open_files();
  if (files_.size() > 1) files_.erase(files_.begin(), files_.end() - 1);
  for (auto &file : files_) {
    file.rest.clear();
    ::lseek(file.descriptor.get(), 0, SEEK_END);
  }
}

int RecordReader::descriptor() {
  if (watch_) return watch_->get();
  watch_.emplace(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (watch_->get() < 0 ||
      ::inotify_add_watch(watch_->get(), folder_.c_str(), IN_MODIFY | IN_CREATE | IN_MOVED_TO) < 0)
    device::folder_failure("cannot watch the device folder", folder_, errno,
                           "the system allows a user so many watches only");
  return watch_->get();
}

}  // namespace ymap
