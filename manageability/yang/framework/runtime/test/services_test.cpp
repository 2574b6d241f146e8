// The services as the plug-in calls them, one request at a time.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <sstream>

#include "notation.hpp"
#include "record_filter.hpp"
#include "request.hpp"
#include "trace.hpp"

namespace yfw::test {
namespace {

/// Runs `body` as the root walker of a request, so that the services see it as the running one.
std::function<void(yfw_map_ctx *, vidl_yfw_datatree *, vidl_yfw_datatree *)> body_now;

verrno call_body(yfw_map_ctx *ctx, vidl_yfw_datatree *top, vidl_yfw_datatree *out) {
  body_now(ctx, top, out);
  return YMAP_OK;
}

struct Services : testing::Test {
  void run(const std::function<void(yfw_map_ctx *, vidl_yfw_datatree *, vidl_yfw_datatree *)> &body,
           Observer::Direction direction = Observer::Direction::on) {
    body_now = body;
    request.run(direction, call_body, walked.root()->subtrees, out.root(), nullptr);
  }

  char filled_tag[8] = {};
  Datatree walked = parse("top{list{name=k1 leaf=v} list{name=k2 leaf}}"), out;
  /// Every path counts as a constant, as those of a plug-in do.
  std::shared_ptr<PathTable> paths =
      std::make_shared<PathTable>(nullptr, reinterpret_cast<const void *>(UINTPTR_MAX));
  Request request{optical_amplifier(), paths, YMAP_REQ_EDIT, 0};
};

verrno add(yfw_map_ctx *ctx, vidl_yfw_datatree *out, const char *path, const char *value = nullptr,
           int list = 0, int leaf = 0, vidl_yfw_datatree *source = nullptr) {
  return yfw_map_datatree_add_path_flagged(ctx, out, path, "urn:x", value, source, nullptr, list, leaf);
}

// ---- Texts and names ------------------------------------------------------------------------------

TEST(Texts, AreCopiedWithinTheirBounds) {
  struct Row {
    const char *before;
    std::size_t size;
    const char *source;
    bool append;
    int result;
    const char *after;
  };
  const Row rows[] = {
      {"", 4, "abc", false, 0, "abc"},   {"", 4, "abcd", false, 1, "abc"},  {"old", 4, nullptr, false, 1, ""},
      {"ab", 4, "c", true, 0, "abc"},    {"ab", 4, "cd", true, 1, "abc"},   {"ab", 3, "c", true, 1, "ab"},
      {"abcdef", 3, "x", true, 1, "ab"}, {"ab", 4, nullptr, true, 1, "ab"},
  };
  for (const Row &row : rows) {
    char buffer[8] = {};
    std::snprintf(buffer, sizeof buffer, "%s", row.before);
    const auto service = row.append ? yfw_strcat_s : yfw_strcpy_s;
    EXPECT_EQ(service("test", buffer, row.size, row.source), row.result) << row.before << " + " << row.size;
    EXPECT_STREQ(buffer, row.after);
  }
  char untouched[] = "x";
  EXPECT_NE(yfw_strcpy_s("test", untouched, 0, "y"), 0);
  EXPECT_NE(yfw_strcat_s("test", nullptr, 4, "y"), 0);
  __strcpy_to_buf(0, untouched, "y");
  EXPECT_STREQ(untouched, "x");
  __strcpy_to_buf(2, untouched, nullptr);
  EXPECT_STREQ(untouched, "");
  EXPECT_EQ(yfw_strdup(nullptr, "owner"), nullptr);
  nos_named_free(nullptr);
}

TEST(Texts, OwnedCopiesAreApartUntilTheyAreFreed) {
  std::vector<std::pair<std::string, char *>> held;
  for (const std::size_t length : {0U, 5U, 62U, 63U, 64U, 500U, 7U, 8U, 9U, 10U}) {
    const std::string text(length, static_cast<char>('a' + held.size()));
    held.emplace_back(text, yfw_strdup(text.c_str(), "test"));
  }
  for (const auto &[text, copy] : held) EXPECT_EQ(copy, text);
  for (const auto &[text, copy] : held) nos_named_free(copy);
}

// A fill rejects its leaves under one tag, whose copy need not be made each time; the next walk's may differ.
TEST_F(Services, AFilledNodesTagIsCopiedAsItIs) {
  for (const char *tag : {"first", "other"}) {
    std::snprintf(filled_tag, sizeof filled_tag, "%s", tag);
    run([&](auto *ctx, auto *top, auto *) {
      vidl_yfw_datatree node = *top;
      node.tag = filled_tag;
      yfw_map_add_to_node_hierarchy(ctx, &node, YMAP_WALK_CONTAINER);
      ctx->state->final_pass = 1;
      nos_named_free(yfw_strdup(filled_tag, "test"));
      char *copy = yfw_strdup(filled_tag, "test"), *held = yfw_strdup(filled_tag, "test");
      char *unlike = yfw_strdup("unlike", "test");
      EXPECT_STREQ(copy, tag);
      EXPECT_STREQ(held, tag);
      EXPECT_NE(copy, held);
      for (char *text : {copy, held, unlike}) nos_named_free(text);
      EXPECT_EQ(ctx->state->err_tag, nullptr);
    });
  }
}

TEST(Names, MatchOnlyWhereBothAreGiven) {
  EXPECT_NE(yfw_map_do_these_match("a", std::string("a").c_str()), 0);
  for (const auto &[a, b] : {std::pair{"a", "ab"}, {"a", nullptr}, {nullptr, "a"}, {nullptr, nullptr}}) {
    EXPECT_EQ(yfw_map_do_these_match(a, b), 0);
  }
}

TEST(Names, ValuesMatchAsNumbersToo) {
  for (const auto &[a, b] :
       {std::pair{"15.5", "15.50"}, {"-0.5", "-00.500"}, {"0", "-0.00"}, {"8", "+8."}, {"x", "x"}}) {
    EXPECT_TRUE(same_value(a, b)) << a << " " << b;
  }
  for (const auto &[a, b] :
       {std::pair{"15.5", "15.05"}, {"5", "-5"}, {"", "0"}, {"1.0x", "1.0"}, {"10", "1"}, {".", "0"}}) {
    EXPECT_FALSE(same_value(a, b)) << a << " " << b;
  }
}

TEST(Names, OperationsMakeARequestKind) {
  for (uint32_t operation = 0; operation <= YMAP_OP_MERGE; ++operation) {
    vidl_yfw_datatree node{};
    vidl_yfw_datatree_set_operation(&node, operation);
    EXPECT_EQ(yfw_map_is_request_delete(&node) != 0, operation == 3 || operation == 4) << operation;
    EXPECT_EQ(yfw_map_is_request_add(nullptr, &node) != 0, operation == 2) << operation;
  }
  EXPECT_EQ(yfw_map_is_request_delete(nullptr), 0);
}

// ---- Adding paths ---------------------------------------------------------------------------------

TEST_F(Services, AddPathFollowsItsFlags) {
  struct Step {
    const char *path;
    const char *value;
    int list, leaf;
  };
  struct Row {
    std::vector<Step> steps;
    const char *tree;
  };
  const Row rows[] = {
      // the first value stays, an empty one is filled
      {{{"/a/b", "1", 0, 1}, {"/a/b", "2", 0, 1}, {"/a/b", nullptr, 0, 0}}, "a{b=1}"},
      {{{"/a/b", nullptr, 0, 1}, {"/a/b", "", 0, 1}, {"/a/b", "2", 0, 0}}, "a{b=2}"},
      {{{"/a/b", "", 0, 1}}, "a{b=}"},
      // a list entry is always new, and what follows goes into it; a whole list is the current one
      {{{"/a/l", nullptr, 1, 0}, {"/a/l/x", "1", 0, 0}, {"/a/l", nullptr, 1, 0}, {"/a/l/x", "2", 0, 0}},
       "a{l{x=1} l{x=2}}"},
      {{{"/a/l", nullptr, 1, 1}, {"/a/l/x", "1", 0, 0}, {"/a/l", nullptr, 1, 1}, {"/a/l/x", "2", 0, 0}},
       "a{l{x=1}}"},
      // another branch between does not change a list's current entry
      {{{"/a/l", nullptr, 1, 0},
        {"/a/l", nullptr, 1, 0},
        {"/a/ab/c", "1", 0, 0},
        {"/b", "2", 0, 0},
        {"/a/l/x", "3", 0, 0}},
       "a{l l{x=3} ab{c=1}} b=2"},
      // names are whole components; needless slashes do not count
      {{{"/ab/c", "1", 0, 0}, {"/a/c", "2", 0, 0}, {"//ab//cd/", "3", 0, 0}}, "ab{c=1 cd=3} a{c=2}"},
      // two parents in turn, while the array that holds them moves
      {{{"/a/b/x", "1", 0, 0},
        {"/a/c/x", "2", 0, 0},
        {"/a/d/x", "3", 0, 0},
        {"/a/b/y", "4", 0, 0},
        {"/a/e", "5", 0, 0},
        {"/a/f", "6", 0, 0},
        {"/a/c/y", "7", 0, 0},
        {"/a/b/x", "8", 0, 0}},
       "a{b{x=1 y=4} c{x=2 y=7} d{x=3} e=5 f=6}"},
      // relative
      {{{"x", "1", 0, 0}, {"x", "2", 0, 0}}, "x=1"},
  };
  // With paths that are recognised, and with paths that are taken apart each time.
  for (const auto end : {std::uintptr_t{0}, UINTPTR_MAX}) {
    const auto table = std::make_shared<PathTable>(nullptr, reinterpret_cast<const void *>(end));
    Request each{optical_amplifier(), table, YMAP_REQ_EDIT, 0};
    for (const Row &row : rows) {
      out = Datatree();
      body_now = [&](auto *ctx, auto *, auto *tree) {
        for (const Step &step : row.steps) {
          EXPECT_EQ(add(ctx, tree, step.path, step.value, step.list, step.leaf), YMAP_OK);
        }
      };
      each.run(Observer::Direction::on, call_body, walked.root()->subtrees, out.root(), nullptr);
      EXPECT_EQ(print(out), row.tree);
    }
  }
}

// Constants are recognised by their address; a buffer may hold another path the next time.
TEST_F(Services, PathsAreConstantOnlyWithinTheirRange) {
  char texts[100][24], buffer[24] = "/l/buffer";
  for (int i = 0; i < 100; ++i) std::snprintf(texts[i], sizeof texts[i], "/l/n%d", i);
  const auto table = std::make_shared<PathTable>(texts, texts + 100);
  Request known{optical_amplifier(), table, YMAP_REQ_EDIT, 0};
  body_now = [&](auto *ctx, auto *, auto *tree) {
    for (int round = 0; round < 2; ++round) {
      for (const char *text : texts) EXPECT_EQ(add(ctx, tree, text, "v"), YMAP_OK);
      add(ctx, tree, buffer, "v");
      std::snprintf(buffer, sizeof buffer, "/l/n%d", 99);
      add(ctx, tree, buffer, "other");
      std::snprintf(buffer, sizeof buffer, "/l/changed");
    }
  };
  known.run(Observer::Direction::on, call_body, walked.root()->subtrees, out.root(), nullptr);
  const vidl_yfw_datatree *list = child(*out.root(), "l");
  ASSERT_EQ(child_count(*list), 102U);
  EXPECT_STREQ(child(*list, "n99")->data, "v");
  EXPECT_NE(child(*list, "changed"), nullptr);
}

TEST_F(Services, ANewNodeTakesItsSourcesOperation) {
  Datatree sources = parse("removed!remove plain created!create");
  vidl_yfw_datatree *source = sources.root()->subtrees;
  run([&](auto *ctx, auto *, auto *tree) {
    add(ctx, tree, "/a/x", nullptr, 0, 1, &source[0]);
    add(ctx, tree, "/a/y", nullptr, 0, 1, &source[0]);
    add(ctx, tree, "/a/x", "1", 0, 1, &source[1]);
    add(ctx, tree, "/a/z", "2", 0, 1, &source[2]);
    add(ctx, tree, "/a/z", "3", 0, 1, &source[0]);
  });
  EXPECT_EQ(print(out), "a{x=1 y!remove z!create=2}");
  EXPECT_EQ(extra(*child(*child(*out.root(), "a"), "x")).source, &source[1]);
}

TEST_F(Services, GrowingKeepsOldRecordsReadableAndCurrentOnesCurrent) {
  std::vector<const vidl_yfw_datatree *> held;
  run([&](auto *ctx, auto *, auto *tree) {
    for (int i = 0; i < 1000; ++i) {
      vidl_yfw_datatree *created = nullptr;
      yfw_map_datatree_add_path_flagged(ctx, tree, "/a/l", "urn:x", nullptr, nullptr, &created, 1, 0);
      add(ctx, tree, "/a/l/x", std::to_string(i).c_str());
      held.push_back(created);
    }
  });
  const vidl_yfw_datatree *list = child(*out.root(), "a");
  ASSERT_EQ(child_count(*list), 1000U);
  EXPECT_STREQ(held[2]->tag, "l");
  EXPECT_STREQ(child(list->subtrees[999], "x")->data, "999");
}

TEST_F(Services, BadAddsAreRefused) {
  run([&](auto *ctx, auto *, auto *tree) {
    for (const char *path : {static_cast<const char *>(nullptr), "", "/", "//"}) {
      EXPECT_EQ(add(ctx, tree, path, "1"), YMAP_ERR_INVALID_ARGS);
    }
    EXPECT_EQ(add(ctx, nullptr, "/a", "1"), YMAP_ERR_INVALID_ARGS);
    EXPECT_EQ(add(nullptr, tree, "/a", "1"), YMAP_ERR_INVALID_ARGS);
    vidl_yfw_datatree *created = tree;
    yfw_map_datatree_add_path_flagged(ctx, tree, nullptr, "urn:x", "1", nullptr, &created, 0, 0);
    EXPECT_EQ(created, nullptr);
  });
  EXPECT_EQ(print(out), "");
}

TEST_F(Services, ANodeMayHaveNoNamespace) {
  run([&](auto *ctx, auto *, auto *tree) {
    for (const char *ns : {static_cast<const char *>(nullptr), "urn:x", static_cast<const char *>(nullptr)}) {
      vidl_yfw_datatree *created = nullptr;
      yfw_map_datatree_add_path_flagged(ctx, tree, "/l", ns, nullptr, nullptr, &created, 1, 0);
      ASSERT_NE(created, nullptr);
      EXPECT_STREQ(created->namespace_, ns);
    }
  });
}

TEST_F(Services, ARequestNodeCanBeGivenAChild) {
  run([&](auto *ctx, auto *top, auto *) {
    vidl_yfw_datatree *created = nullptr;
    yfw_map_datatree_add_path_flagged(ctx, top, "name", "urn:x", "v", nullptr, &created, 0, 0);
    ASSERT_NE(created, nullptr);
    EXPECT_EQ(created, child(*top, "name"));
    // The plug-in puts the children back that it had detached: what was added since is gone.
    vidl_yfw_datatree_set_subtrees(top, top->subtrees, 2);
    add(ctx, top, "other");
    add(ctx, top, "name", "again");
  });
  EXPECT_EQ(print(walked), "top{list{name=k1 leaf=v} list{name=k2 leaf} other name=again}");
}

TEST(Trees, ASharedNodeIsTheSameOneAndGrowsApart) {
  Datatree owner = parse("top{leaf=v}"), user;
  vidl_yfw_datatree *shared = user.add_shared(user.root(), owner.root()->subtrees);
  EXPECT_EQ(shared->subtrees, owner.root()->subtrees->subtrees);
  user.add(shared, "added", "");
  EXPECT_EQ(print(user), "top{leaf=v added}");
  EXPECT_EQ(print(owner), "top{leaf=v}");
}

// ---- Lists of the output --------------------------------------------------------------------------

TEST(Trees, ACopySaysWhatItsSourceSaysWithoutTheMarks) {
  Datatree from = parse("a!replace{b!remove=v c=w}"), to;
  vidl_yfw_datatree *top = from.root()->subtrees;
  vidl_yfw_datatree_set_is_key(&top->subtrees[0]);
  vidl_yfw_datatree_set_walk_mark(vidl_yfw_datatree_get_walk_info(top), YMAP_MARK_CONTAINER);
  top->subtrees[0].node_status = YMAP_NODE_XPATH_ERROR;
  top->subtrees[0].presence2 |= YMAP_HAS_STATUS;
  top->subtrees[1].presence1 &= static_cast<uint8_t>(~YMAP_HAS_DATA);
  const vidl_yfw_datatree *copy = to.add_copy(to.root(), top);
  EXPECT_EQ(print(to), "a!replace{b!remove=v c}");
  EXPECT_EQ(copy->walk_info.presence, 0);
  EXPECT_TRUE(vidl_yfw_datatree_has_operation(copy));
  EXPECT_EQ(copy->subtrees[0].presence2, YMAP_HAS_STATUS);
  EXPECT_EQ(copy->subtrees[0].node_status, YMAP_NODE_XPATH_ERROR);
}

TEST_F(Services, AnOutputEntryIsFoundByItsKey) {
  run(
      [&](auto *ctx, auto *top, auto *tree) {
        vidl_yfw_datatree *plist = nullptr;
        const auto select = [&](const char *key) {
          return yfw_map_search_or_add_list(ctx, tree, &plist, "/o/l", key, "name", "urn:x");
        };
        EXPECT_EQ(select("a"), YMAP_OK);
        EXPECT_EQ(select("b"), YMAP_OK);
        add(ctx, tree, "/o/l/x", "1");
        EXPECT_EQ(select("a"), YMAP_OK);
        EXPECT_STREQ(child(*plist, "name")->data, "a");
        add(ctx, tree, "/o/other");
        add(ctx, tree, "/o/l/x", "2");
        EXPECT_EQ(select(""), YMAP_SKIP_NODE);
        yfw_add_to_output_list_ctx(ctx, top, tree);
        EXPECT_EQ(ctx->state->output_list_count, 1);
        yfw_remove_from_output_list_ctx(ctx, top, tree);
        add(ctx, tree, "/o/l/x", "stray");
      },
      Observer::Direction::no);
  // After the bracket nothing lands in an entry that another native entry selected.
  EXPECT_EQ(print(out), "o{l{name=a x=2} l{name=b x=1} other l{x=stray}}");
}

TEST_F(Services, WhatTheFrameworkHoldsFollowsAnArrayThatMoves) {
  run(
      [&](auto *ctx, auto *top, auto *tree) {
        yfw_map_search_or_add_list(ctx, tree, &ctx->state->plist, "/o/l", "a", "name", "urn:x");
        for (const char *path : {"/o/p", "/o/q", "/o/r", "/o/s", "/p", "/q", "/r", "/s"})
          add(ctx, tree, path);
        EXPECT_EQ(ctx->state->plist, child(*child(*tree, "o"), "l"));
        yfw_add_to_output_list_ctx(ctx, top, tree);
        add(ctx, tree, "/o/l/x", "1");
        yfw_remove_from_output_list_ctx(ctx, top, tree);
        add(ctx, tree, "/o/l/x", "stray");
      },
      Observer::Direction::no);
  EXPECT_EQ(print(out), "o{l{name=a x=1} p q r s l{x=stray}} p q r s");
}

TEST_F(Services, TheOutputListCountsInEightBits) {
  run([&](auto *ctx, auto *top, auto *tree) {
    for (int i = 0; i < 300; ++i) yfw_add_to_output_list_ctx(ctx, top, tree);
    EXPECT_EQ(ctx->state->output_list_count, 255);
    yfw_remove_from_output_list_ctx(ctx, nullptr, tree);
    EXPECT_EQ(ctx->state->output_list_count, 255);
    for (int i = 0; i < 300; ++i) yfw_remove_from_output_list_ctx(ctx, top, tree);
    EXPECT_EQ(ctx->state->output_list_count, 0);
  });
}

// ---- Walk path ------------------------------------------------------------------------------------

TEST_F(Services, TheWalkPathShowsAsNodeData) {
  run([&](auto *ctx, auto *top, auto *) {
    yfw_map_add_to_node_hierarchy(ctx, top, YMAP_WALK_CONTAINER);
    EXPECT_EQ(yfw_map_update_current_list_node(ctx, "/top/list"), YMAP_OK);
    const char *key = "unset";
    EXPECT_NE(yfw_map_get_node_info(ctx, "/top/list", "name", &key), YMAP_OK);
    EXPECT_EQ(key, nullptr);
    for (uint32_t i : {0U, 1U}) {
      yfw_map_add_to_node_hierarchy(ctx, &top->subtrees[i], YMAP_WALK_LIST_ENTRY);
      EXPECT_EQ(ctx->state->node_data[1].node, &top->subtrees[i]);
      yfw_map_update_current_list_node(ctx, "/x:top/x:list");
      EXPECT_EQ(yfw_map_get_node_info(ctx, "/x:top/x:list", "name", &key), YMAP_OK);
      EXPECT_STREQ(key, i == 0 ? "k1" : "k2");
      // No entry of that list was recorded: the container above it is being filled.
      ctx->state->final_pass = 1;
      yfw_map_update_current_list_node(ctx, "/top/list/inner");
      ctx->state->final_pass = 0;
      EXPECT_NE(yfw_map_get_node_info(ctx, "/top/list/inner", "name", &key), YMAP_OK);
      yfw_map_remove_from_node_hierarchy(ctx, &top->subtrees[i]);
    }
    EXPECT_EQ(ctx->state->node_data_count, 1);
    EXPECT_NE(yfw_map_get_node_info(ctx, "/other", "name", &key), YMAP_OK);
  });
}

TEST_F(Services, TheWalkPathSurvivesWrongUse) {
  run([&](auto *ctx, auto *top, auto *) {
    yfw_map_remove_from_node_hierarchy(ctx, top);
    for (int i = 0; i < 300; ++i) yfw_map_add_to_node_hierarchy(ctx, top, YMAP_WALK_CONTAINER);
    EXPECT_EQ(ctx->state->node_data_count, 255);
    for (int i = 0; i < 299; ++i) yfw_map_remove_from_node_hierarchy(ctx, top);
    EXPECT_EQ(ctx->state->node_data_count, 1);
    // An entry that its walker left behind goes with the node above it.
    yfw_map_add_to_node_hierarchy(ctx, &top->subtrees[0], YMAP_WALK_LIST_ENTRY);
    yfw_map_remove_from_node_hierarchy(ctx, top);
    EXPECT_EQ(ctx->state->node_data_count, 0);
    yfw_map_add_to_node_hierarchy(ctx, nullptr, YMAP_WALK_CONTAINER);
    EXPECT_EQ(ctx->state->node_data_count, 0);
  });
}

TEST_F(Services, TheExpansionStackIsAStack) {
  run([&](auto *ctx, auto *top, auto *) {
    yfw_itree_entry entry{top, 1, nullptr};
    yfw_map_util_itree_stack_pop(ctx);
    yfw_map_util_itree_stack_peak(ctx, &entry);
    EXPECT_EQ(entry.nodes, nullptr);
    for (uint32_t count = 1; count <= 20; ++count) yfw_map_util_itree_stack_push(ctx, top, count, nullptr);
    for (uint32_t count = 20; count > 0; --count) {
      EXPECT_EQ(yfw_map_util_itree_stack_size(ctx), count);
      yfw_map_util_itree_stack_peak(ctx, &entry);
      EXPECT_EQ(entry.count, count);
      yfw_map_util_itree_stack_pop(ctx);
    }
    yfw_map_util_itree_stack_peak(ctx, nullptr);
  });
}

// ---- Error notes ----------------------------------------------------------------------------------

TEST_F(Services, AnErrorKeepsItsOwnTag) {
  enum class Order { tag_first, note_first, note_only };
  struct Row {
    Order order;
    const char *tag;
  };
  for (const Row &row :
       {Row{Order::tag_first, "leaf"}, {Order::note_first, "leaf"}, {Order::note_only, ""}}) {
    run([&](auto *ctx, auto *top, auto *) {
      yfw_map_state &state = *ctx->state;
      const auto set_tag = [&](const char *tag) {
        nos_named_free(state.err_tag);
        state.err_tag = yfw_strdup(tag, "test");
      };
      yfw_map_add_to_node_hierarchy(ctx, top, YMAP_WALK_CONTAINER);
      yfw_map_add_to_node_hierarchy(ctx, &top->subtrees[1], YMAP_WALK_LIST_ENTRY);
      if (row.order == Order::tag_first) set_tag("leaf");
      yfw_oc_error_path(ctx);
      if (row.order == Order::note_first) set_tag("leaf");
      yfw_map_remove_from_node_hierarchy(ctx, top);
      state.final_pass = 1;
      set_tag("filled");
      yfw_oc_error_path(ctx);
      state.final_pass = 0;
    });
    EXPECT_EQ(request.errors.path(), "top/list[name='k2']");
    EXPECT_EQ(request.errors.tag(), row.tag);
  }
}

TEST_F(Services, TheKeyAndItsLeafrefMustAgree) {
  struct Row {
    const char *entry;
    verrno status;
  };
  const Row rows[] = {{"list{name=a config{name=a}}", YMAP_OK},
                      {"list{name=a config{name}}", YMAP_OK},
                      {"list{name=a config}", YMAP_OK},
                      {"list{config{name=a}}", YMAP_OK},
                      {"list{name=a config{name=b}}", YMAP_ERR_INVALID_VALUE},
                      {"list{name=a config{name=a} config{name=b}}", YMAP_ERR_INVALID_VALUE}};
  for (const Row &row : rows) {
    Datatree tree = parse(row.entry);
    run([&](auto *ctx, auto *, auto *) {
      yfw_map_add_to_node_hierarchy(ctx, tree.root()->subtrees, YMAP_WALK_LIST_ENTRY);
      EXPECT_EQ(yfw_map_check_oc_leafref(ctx, "/list", "config", "name", tree.root()->subtrees), row.status)
          << row.entry;
    });
  }
  EXPECT_EQ(request.errors.path(), "list[name='a']/config/name");
  EXPECT_EQ(request.errors.message(), "config/name 'b' differs from the key name 'a'; both must be the same");
}

// ---- Traces ---------------------------------------------------------------------------------------

TEST_F(Services, ErrorMessagesAreHeardAndTracesAreNot) {
  run([&](auto *ctx, auto *top, auto *) {
    EXPECT_NE(yfw_debug_should_log(&ctx->debug_cfg, 0), 0);
    EXPECT_EQ(yfw_debug_should_log(&ctx->debug_cfg, 3), 0);
    yfw_map_add_to_node_hierarchy(ctx, top, YMAP_WALK_CONTAINER);
    uint32_t site = UINT32_MAX;
    const std::string long_text(10'000, 'x');
    _nos_dt_log_filter_adv(ctx->err_log, 0, 0, 0, 0, 0, &site, "ERR: YFW: ctx=%p,%s",
                           static_cast<void *>(ctx), long_text.c_str());
    EXPECT_EQ(request.errors.last_trace(), long_text);
    ctx->state->final_pass = 1;
    _nos_dt_log_filter_adv(ctx->err_log, 0, 0, 0, 0, 0, &site, "ERR: YFW: ctx=%p,fill",
                           static_cast<void *>(ctx));
    EXPECT_EQ(request.errors.last_trace(), long_text);
    _nos_dt_log_filter_adv(nullptr, 0, 0, 0, 0, 0, &site, "nowhere");
  });
}

TEST_F(Services, TheLightTraceIsARing) {
  set_light_trace(3);
  run([&](auto *ctx, auto *, auto *) {
    EXPECT_NE(ctx->ltrace_on, 0U);
    for (const char *line : {"1", "2", "3", "4"}) _lstrace(ctx->ltrace, 0, line);
    _lstrace(nullptr, 0, "lost");
  });
  std::ostringstream dumped, again;
  dump_light_trace(dumped);
  dump_light_trace(again);
  set_light_trace(0);
  EXPECT_EQ(dumped.str(), "2\n3\n4\n");
  EXPECT_EQ(again.str(), "");
}

struct Recorder : Observer {
  void begin(Direction, const vidl_yfw_datatree *top) override {
    text += std::string("begin ") + top->tag + "\n";
  }
  void enter(const vidl_yfw_datatree *node, uint32_t) override {
    text += std::string("enter ") + node->tag + "\n";
  }
  void leave(const vidl_yfw_datatree *node) override { text += std::string("leave ") + node->tag + "\n"; }
  void message(std::string_view level, std::string_view function, std::string_view message) override {
    text.append(level).append(" ").append(function).append(": ").append(message) += "\n";
  }
  void added(const vidl_yfw_datatree *, const char *path, const char *value, verrno) override {
    text += std::string("added ") + path + (value == nullptr ? "" : std::string(" = ") + value) + "\n";
  }
  void selected(const char *list, const char *key) override {
    text += std::string("selected ") + list + " " + key + "\n";
  }
  std::string text;
};

TEST_F(Services, AnObserverSeesEachStep) {
  Recorder recorder;
  set_observer(&recorder);
  run([&](auto *ctx, auto *top, auto *tree) {
    yfw_map_add_to_node_hierarchy(ctx, top, YMAP_WALK_CONTAINER);
    _lstrace(ctx->ltrace, 0, "#7: ERR: some_handler:12 ctx=0x1,a: b, c");
    _lstrace(ctx->ltrace, 0, "#8: cut");
    add(ctx, tree, "/a", "1");
    vidl_yfw_datatree *plist = nullptr;
    yfw_map_search_or_add_list(ctx, tree, &plist, "/l", "k", "name", "urn:x");
    yfw_map_remove_from_node_hierarchy(ctx, top);
  });
  set_observer(nullptr);
  EXPECT_EQ(recorder.text,
            "begin top\nenter top\nERR some_handler: a: b, c\nadded /a = 1\nselected /l k\nleave top\n");
}

}  // namespace
}  // namespace yfw::test
