/// \file
/// The help of the command line, the same with every version of CLI11.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace ymap {

/// No name for CLI11 may hold an equals sign. By this one it knows the argument that users are shown as
/// LEAF=VALUE.
inline constexpr const char *kAssignment = "ASSIGNMENT";

class HelpFormatter : public CLI::FormatterBase {
 public:
  /// `name` is that of the command with those before it.
  std::string make_help(const CLI::App *app, std::string name, CLI::AppFormatMode mode) const override;
};

/// What is wrong with the command line, on one line.
std::string complaint(const CLI::ParseError &error);

}  // namespace ymap
