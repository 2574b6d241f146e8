// The bash completion script, its words asked of the parser, the schema and the plug-in.
#include "completion.hpp"

#include "openconfig_request.hpp"
#include "options.hpp"
#include "rpc_error.hpp"

namespace ymap {
namespace {

template <typename Words>
std::string words(const Words &list) {
  std::string text;
  for (const auto &word : list) text.append(text.empty() ? "" : " ").append(word);
  return text;
}

/// The leaves of `config` that the plug-in maps: those whose removal it does not refuse.
std::vector<const SchemaNode *> settable_leaves(Session &session) {
  const auto &record = session.registration();
  const auto &schema = session.schema();
  const SchemaNode *node = nullptr;
  for (const auto &name : {record.top, record.list_container, record.list, std::string("config")})
    node = schema.child(node, name);
  std::vector<const SchemaNode *> leaves;
  for (const auto &leaf : schema.children(node)) {
    const std::string name(leaf.name);
    if (name == record.key) continue;
    try {
      session.translate(edit_request(schema, record.instances.front(), {{name, std::nullopt}}));
      leaves.push_back(&leaf);
    } catch (const RpcError &) {
      continue;
    }
  }
  return leaves;
}

// '=' separates words in bash, so a value is a word of its own, two after its leaf or beside the '='.
constexpr const char *kFunction = R"(
_ymap() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  local command= amplifier= leaf= index
  for ((index = 1; index < COMP_CWORD; ++index)); do
    case ${COMP_WORDS[index]} in
      --device | --connect | --timeout | -f | --format | --watch | --interval) ((++index)) ;;
      -*) ;;
      *)
        if [[ -z $command ]]; then command=${COMP_WORDS[index]}
        elif [[ -z $amplifier ]]; then amplifier=${COMP_WORDS[index]}
        fi
        ;;
    esac
  done
  if [[ $current == "=" ]]; then leaf=$previous current=
  elif [[ $previous == "=" ]]; then leaf=${COMP_WORDS[COMP_CWORD-2]}
  fi
  local words=
  case $previous in
    --device) COMPREPLY=($(compgen -d -- "$current")); compopt -o filenames 2>/dev/null; return ;;
    -f | --format)
      words="text xml json prometheus"
      [[ $command == map || $command == log ]] && words="text json"
      COMPREPLY=($(compgen -W "$words" -- "$current"))
      return
      ;;
    --connect | --timeout | --watch | --interval) COMPREPLY=(); return ;;
  esac
  if [[ $current == -* ]]; then
    words=${_ymap_options[-]}
    [[ -n $command ]] && words+=" ${_ymap_options[$command]}"
  elif [[ -z $command ]]; then
    words=$_ymap_commands
  elif [[ -n $leaf ]]; then
    words=${_ymap_values[$leaf]-}
  else
    case $command in
      get | watch) words=$_ymap_amplifiers ;;
      set | unset)
        words=$_ymap_amplifiers
        if [[ -n $amplifier ]]; then
          words=$_ymap_leaves
          [[ $command == set ]] && words=${_ymap_leaves// /= }= && compopt -o nospace 2>/dev/null
        fi
        ;;
      rpc | translate | explain) COMPREPLY=($(compgen -f -- "$current")); compopt -o filenames 2>/dev/null; return ;;
      completion) words=bash ;;
    esac
  fi
  COMPREPLY=($(compgen -W "$words" -- "$current"))
}
complete -F _ymap ymap
)";

}  // namespace

std::string bash_completion(Session &session) {
  std::string options;
  std::vector<std::string> commands;
  for (const auto &command : command_words()) {
    options += " [" + (command.name.empty() ? "-" : command.name) + "]=\"" + words(command.options) + "\"";
    if (!command.name.empty()) commands.push_back(command.name);
  }
  std::string values;
  std::vector<std::string> leaves;
  for (const auto *leaf : settable_leaves(session)) {
    leaves.emplace_back(leaf->name);
    values += " [" + leaves.back() + "]=\"" + words(leaf->words) + "\"";
  }
  return "# bash completion of ymap\n_ymap_commands=\"" + words(commands) + "\"\n_ymap_amplifiers=\"" +
         words(session.registration().instances) + "\"\n_ymap_leaves=\"" + words(leaves) +
         "\"\ndeclare -gA _ymap_options=(" + options + " )\ndeclare -gA _ymap_values=(" + values + " )" +
         kFunction;
}

}  // namespace ymap
