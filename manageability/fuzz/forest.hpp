/// \file
/// Data trees out of bytes: from what a framework would send to what nobody should. Every array and text is
/// an allocation of its own and exact size, so that the sanitizers see each step past an end.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bytes.hpp"
#include "ymap_datatree.h"

namespace ymap_fuzz {

class Forest {
 public:
  /// A tree of at most a few thousand nodes and 2,000 levels; NULL by choice.
  vidl_yfw_datatree *tree(Bytes &bytes);

  /// The same below a root with the empty tag, as a framework keeps its copy of a request.
  vidl_yfw_datatree *request_copy(Bytes &bytes);

  /// `count` siblings as children of `parent` (a tag of the models, or "").
  vidl_yfw_datatree *siblings(Bytes &bytes, const std::string &parent, uint32_t count);

  /// A text: a word of the models, a value, junk of any length up to 100 kB; NULL by choice.
  const char *text(Bytes &bytes);

  /// Adds a child. Arrays that it grows out of live on, as those of a framework do.
  vidl_yfw_datatree *append(vidl_yfw_datatree *parent, const char *tag, const char *ns);

 private:
  struct Place {
    const std::string &parent;
    const char *ns;
    uint32_t depth;
  };
  vidl_yfw_datatree *array(size_t count);
  const char *keep(const std::string &text);
  void node(Bytes &bytes, vidl_yfw_datatree &node, const Place &place);
  void attributes(Bytes &bytes, vidl_yfw_datatree &node);
  void children(Bytes &bytes, vidl_yfw_datatree &node, const std::string &tag, uint32_t depth);
  void break_presence(Bytes &bytes, vidl_yfw_datatree &node);

  std::vector<std::unique_ptr<vidl_yfw_datatree[]>> arrays_;
  std::vector<std::unique_ptr<char[]>> texts_;
  uint32_t nodes_ = 0;
};

}  // namespace ymap_fuzz
