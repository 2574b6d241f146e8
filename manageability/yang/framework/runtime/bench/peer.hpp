/// \file
/// The yardstick of the benchmarks: the same translations of one amplifier, written by hand with libyang.
#pragma once

#include <array>
#include <filesystem>

struct ly_ctx;
struct lyd_node;
struct lys_module;

namespace yfw::bench {

/// The modules of the mapping: OpenConfig's, then the native ones.
using Modules = std::array<const lys_module *, 5>;

/// Translates requests of amplifier 0/0-AMP-BST2 with prepared libyang trees, the same in content as the
/// benchmarks' own. Children are found by walking and nodes are made from their parents; each call frees what
/// it made. Throws std::runtime_error when libyang refuses a tree.
class Peer {
 public:
  explicit Peer(const std::filesystem::path &models);
  ~Peer();
  Peer(const Peer &) = delete;
  Peer &operator=(const Peer &) = delete;

  /// The native request of a read, and the OpenConfig answer of a native one.
  void get(bool with_state);
  /// The native request of an edit of four leaves.
  void edit();

 private:
  lyd_node *parse(const char *xml) const;

  ly_ctx *context_ = nullptr;
  Modules modules_{};
  lyd_node *filter_ = nullptr, *edit_ = nullptr, *config_answer_ = nullptr, *state_answer_ = nullptr;
};

}  // namespace yfw::bench
