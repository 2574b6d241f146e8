/// \file
/// Standard error, while a page fills the terminal.
#pragma once

namespace ymap::watch {

/// Holds back what goes to a terminal there, and would go into the page, until the object goes.
class HeldErrors {
 public:
  HeldErrors();
  ~HeldErrors();
  HeldErrors(const HeldErrors &) = delete;
  HeldErrors &operator=(const HeldErrors &) = delete;

  /// Throws away what is held where that has become much.
  void limit() const;

 private:
  int terminal_ = -1;  ///< -1: nothing is held back
  int held_ = -1;
};

}  // namespace ymap::watch
