// The help of the command line: description, usage, arguments, options, commands, examples.
#include "help.hpp"

#include <string_view>
#include <vector>

namespace ymap {
namespace {

constexpr std::string_view kShownAssignment = "LEAF=VALUE";

constexpr std::size_t kColumn = 30;  ///< where descriptions begin

struct Row {
  std::string term;
  std::string description;
};

std::string argument_name(const CLI::Option *argument) {
  const auto name = argument->get_name(true, false);
  return name == kAssignment ? std::string(kShownAssignment) : name;
}

bool takes_several(const CLI::Option *argument) {
  return argument->get_expected_max() > 1;
}

std::string usage(const CLI::App *app, const std::vector<const CLI::Option *> &arguments, bool has_options) {
  std::string text;
  if (has_options) text += " [OPTIONS]";
  for (const auto *argument : arguments) {
    const auto word = argument_name(argument) + (takes_several(argument) ? "..." : "");
    text += " " + (argument->get_required() ? word : "[" + word + "]");
  }
  if (app->get_require_subcommand_min() > 0) text += " SUBCOMMAND";
  return text;
}

Row row_of(const CLI::Option *option) {
  auto term = option->get_positional() ? argument_name(option) : option->get_name(false, true);
  if (!option->get_type_name().empty()) term += " " + option->get_type_name();
  if (takes_several(option)) term += " ...";
  if (option->get_required()) term += " REQUIRED";
  for (const auto *other : option->get_excludes()) term += " Excludes: " + other->get_name();
  return {term, option->get_description()};
}

std::string section(std::string_view title, const std::vector<Row> &rows) {
  if (rows.empty()) return {};
  auto text = "\n" + std::string(title) + ":\n";
  for (const auto &[term, description] : rows) {
    const auto width = term.size() + 2;
    text += "  " + term;
    if (width >= kColumn) text += "\n";
    text.append(width < kColumn ? kColumn - width : kColumn, ' ') += description + "\n";
  }
  return text;
}

}  // namespace

std::string HelpFormatter::make_help(const CLI::App *app, std::string name,
                                     CLI::AppFormatMode /*mode*/) const {
  const auto options = app->get_options();
  std::vector<const CLI::Option *> arguments;
  std::vector<Row> argument_rows, option_rows, command_rows;
  for (const auto *option : options) {
    (option->get_positional() ? argument_rows : option_rows).push_back(row_of(option));
    if (option->get_positional()) arguments.push_back(option);
  }
  for (const auto *command :
       app->get_subcommands([](const CLI::App *one) { return !one->get_group().empty(); }))
    command_rows.push_back({command->get_name(), command->get_description()});
  return app->get_description() + "\nUsage: " + name + usage(app, arguments, !option_rows.empty()) + "\n" +
         section("Positionals", argument_rows) + section("Options", option_rows) +
         section("Subcommands", command_rows) + "\n" + app->get_footer() + "\n";
}

std::string complaint(const CLI::ParseError &error) {
  std::string text = error.what();
  // The names of missing arguments come first.
  if (const std::string_view name = kAssignment; text.starts_with(name))
    text.replace(0, name.size(), kShownAssignment);
  constexpr std::string_view unknown = "INI was not able to parse ";
  if (text.starts_with(unknown))
    return "the file of options has \"" + text.substr(unknown.size()) +
           "\", which is no option of the command";
  return text;
}

}  // namespace ymap
