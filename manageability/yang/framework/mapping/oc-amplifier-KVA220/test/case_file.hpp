/// \file
/// Scenarios as text files: what goes in, and every line that must come out.
///
///     == FUNCTION TYPE PRE|BST      function (prefix folded), request type, slots (NULL: unset)
///     request TREE                  the request as the framework keeps it
///     state-only request|own|none   content_selector 2, present by that presence bit
///     fail SERVICE N STATUS         the n-th call of a service answers so
///     push SERVICE N TREE           an expansion entry pushed in that call: the children of the tree's root;
///     push-callback SERVICE N TREE  the same with a callback, which records `callback PATH`
///     enter LIST DEPTH              the call is made on the first node of that depth; it and what is above
///                                   it stand on the walk path, and it is the list's current entry
///     view full|walk|calls|adds     full is the default
///     untraced                      both outputs of the trace points are off
///     indent                        two blanks a step of the walk path
///     inside PATH                   only what happens between entering and leaving that container, and the
///     end show tree|pushed|slots|state|left  lines at the end about what the call leaves behind on TREE the
///     node; all lines after this one, up to the next `==`, are expected
///
/// A `#` begins a comment line. Indentation of expected lines counts with `indent` only.
#ifndef YMAP_TEST_CASE_FILE_HPP
#define YMAP_TEST_CASE_FILE_HPP

#include <filesystem>
#include <string>
#include <vector>

namespace ymap_test {

struct Case {
  std::string place;  ///< file:line
  std::vector<std::string> directives;
  std::string expected;
};

/// Throws std::invalid_argument with the place of what it cannot read.
std::vector<Case> read_cases(const std::filesystem::path &file);

/// Runs the case and gives what came out.
std::string run_case(const Case &one);

/// Writes the file anew with `outcomes` as the expected lines.
void write_cases(const std::filesystem::path &file, const std::vector<Case> &cases,
                 const std::vector<std::string> &outcomes);

}  // namespace ymap_test

#endif  // YMAP_TEST_CASE_FILE_HPP
