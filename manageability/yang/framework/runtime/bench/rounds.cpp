// Translates the same request again and again, for the one who counts its instructions:
// rounds get|get-config|edit COUNT, or with "peer-" before the word the same by hand with libyang.
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <string>

#include "native_answer.hpp"
#include "peer.hpp"
#include "requests.hpp"

namespace {

using namespace yfw::bench;

constexpr const char *amplifier = "0/0-AMP-BST2";

void read(uint32_t type, int rounds) {
  const yfw::Plugin plugin(yfw::optical_amplifier(), PLUGIN_FILE);
  PreparedDatastore datastore(ports(2, 1, type == YMAP_REQ_GET));
  yfw::Mapper mapper(plugin, datastore);
  const yfw::Datatree filter = request(amplifier);
  for (int i = 0; i < rounds; ++i) mapper.read({&filter, type, 0});
}

void edit(int rounds) {
  const yfw::Plugin plugin(yfw::optical_amplifier(), PLUGIN_FILE);
  PreparedDatastore datastore{yfw::Datatree()};
  yfw::Mapper mapper(plugin, datastore);
  const yfw::Datatree request = edit_of_four_leaves();
  for (int i = 0; i < rounds; ++i) mapper.edit(request);
}

template <typename Translate>
void ask_peer(int rounds, Translate translate) {
  Peer peer(MODEL_FOLDER);
  for (int i = 0; i < rounds; ++i) translate(peer);
}

const std::map<std::string, std::function<void(int)>> kinds = {
    {"get", [](int rounds) { read(YMAP_REQ_GET, rounds); }},
    {"get-config", [](int rounds) { read(YMAP_REQ_GET_CONFIG, rounds); }},
    {"edit", edit},
    {"peer-get", [](int rounds) { ask_peer(rounds, [](Peer &peer) { peer.get(true); }); }},
    {"peer-get-config", [](int rounds) { ask_peer(rounds, [](Peer &peer) { peer.get(false); }); }},
    {"peer-edit", [](int rounds) { ask_peer(rounds, [](Peer &peer) { peer.edit(); }); }},
};

}  // namespace

int main(int argc, char **argv) {
  const auto kind = argc == 3 ? kinds.find(argv[1]) : kinds.end();
  const int rounds = argc == 3 ? std::atoi(argv[2]) : 0;
  if (kind == kinds.end() || rounds <= 0) {
    std::cerr << "usage: rounds [peer-]get|get-config|edit COUNT\n";
    return 2;
  }
  kind->second(rounds);
  return 0;
}
