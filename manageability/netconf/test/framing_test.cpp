// Messages out of streams that are cut anywhere, and out of streams that are no NETCONF.
#include "framing.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ymap::netconf {
namespace {

constexpr std::size_t kLargest = 100'000;

struct Outcome {
  std::vector<std::string> messages;
  bool idle = false;
  std::string error;
  bool operator==(const Outcome &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Outcome &outcome) {
  for (const auto &message : outcome.messages) out << "[" << message.substr(0, 40) << "] ";
  return out << (outcome.idle ? "idle " : "in a message ") << outcome.error;
}

/// The stream in pieces of `step` bytes.
Outcome read(std::string_view stream, Framing framing, std::size_t step) {
  Deframer deframer(kLargest);
  deframer.use(framing);
  Outcome outcome;
  try {
    while (!stream.empty()) {
      deframer.feed(stream.substr(0, step));
      stream.remove_prefix(std::min(step, stream.size()));
      while (auto message = deframer.next())
        outcome.messages.push_back((message->cut ? "cut: " : "") + message->text);
    }
  } catch (const FramingError &error) {
    const std::string reason = error.what();
    outcome.error = reason.substr(0, reason.find("\":"));
    return outcome;
  }
  outcome.idle = deframer.idle();
  return outcome;
}

struct Row {
  const char *name;
  Framing framing;
  std::string stream;
  Outcome expected;
};

const std::vector<Row> &rows() {
  constexpr auto marked = Framing::end_of_message;
  constexpr auto chunked = Framing::chunked;
  static const std::vector<Row> table = {
      {"two", marked, "<a/>]]>]]>\n<b/>]]>]]>", {{"<a/>", "\n<b/>"}, true, ""}},
      {"almost the marker", marked, "a]]>]]b]]]]>]]>", {{"a]]>]]b]]"}, true, ""}},
      {"white space between messages", marked, "<a/>]]>]]> \n", {{"<a/>"}, true, ""}},
      {"half a message", marked, "<a/>]]>]]><b", {{"<a/>"}, false, ""}},
      {"largest", marked, std::string(kLargest, 'x') + "]]>]]>", {{std::string(kLargest, 'x')}, true, ""}},
      {"cut, and the next one whole",
       marked,
       std::string(kLargest + 1, 'x') + "]]>]]><b/>]]>]]>",
       {{"cut: " + std::string(65536, 'x'), "<b/>"}, true, ""}},
      {"one chunk", chunked, "\n#4\n<a/>\n##\n", {{"<a/>"}, true, ""}},
      {"chunks that hold frames", chunked, "\n#1\n\n\n#5\n\n##\n#\n##\n", {{"\n\n##\n#"}, true, ""}},
      {"two of them", chunked, "\n#1\na\n#1\nb\n##\n\n#2\ncd\n##\n", {{"ab", "cd"}, true, ""}},
      {"cut by its chunks",
       chunked,
       "\n#60000\n" + std::string(60000, 'x') + "\n#60000\n" + std::string(60000, 'y') +
           "\n##\n\n#1\nb\n##\n",
       {{"cut: " + std::string(60000, 'x') + std::string(5536, 'y'), "b"}, true, ""}},
      {"half a chunk", chunked, "\n#4\n<a", {{}, false, ""}},
      {"no end of chunks", chunked, "\n#4\n<a/>\n#", {{}, false, ""}},
      {"largest size", chunked, "\n#4294967295\nx", {{}, false, ""}},
      {"larger size", chunked, "\n#4294967296\n", {{}, false, "bad chunk header \"\\n#4294967296"}},
      {"endless size", chunked, "\n#42949672951", {{}, false, "bad chunk header \"\\n#42949672951"}},
      {"size 0", chunked, "\n#0\n", {{}, false, "bad chunk header \"\\n#0"}},
      {"size with a sign", chunked, "\n#-1\n", {{}, false, "bad chunk header \"\\n#-"}},
      {"no size", chunked, "\n#\n", {{}, false, "bad chunk header \"\\n#\\n"}},
      {"end without chunks", chunked, "\n##\n", {{}, false, "bad chunk header \"\\n##"}},
      {"no header", chunked, "<rpc/>]]>]]>", {{}, false, "bad chunk header \"<"}},
      {"a chunk longer than it says", chunked, "\n#1\nab", {{}, false, "bad chunk header \"b"}},
      {"bad end of chunks", chunked, "\n#1\na\n##x", {{}, false, "bad chunk header \"\\n##x"}},
  };
  return table;
}

TEST(Deframer, reads_streams_that_are_cut_anywhere) {
  for (const auto &row : rows()) {
    for (const std::size_t step : {1U, 2U, 3U, 7U, 1000U, 1'000'000U})
      EXPECT_EQ(read(row.stream, row.framing, step), row.expected) << row.name << " by " << step;
  }
}

TEST(Deframer, goes_on_in_the_other_framing_within_what_was_read) {
  Deframer deframer(kLargest);
  deframer.feed("<hello/>]]>]]>\n#2\nab\n##\n");
  EXPECT_EQ(deframer.next()->text, "<hello/>");
  deframer.use(Framing::chunked);
  EXPECT_EQ(deframer.next()->text, "ab");
}

TEST(Framed, is_what_a_peer_reads) {
  for (const auto framing : {Framing::end_of_message, Framing::chunked}) {
    const std::string message = "<rpc-reply/>";
    EXPECT_EQ(read(framed(message, framing) + framed("x", framing), framing, 5),
              (Outcome{{message, "x"}, true, ""}));
  }
}

}  // namespace
}  // namespace ymap::netconf
