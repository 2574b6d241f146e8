// What libyang alone needs for the bytes of a request and its answer: to parse the one, and to parse,
// validate and print the other. An edit's is the stored configuration.
#include <libyang/libyang.h>

#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "libyang_versions.hpp"
#include "model_folders.hpp"

namespace {

std::string content_of(const char *file) {
  std::ifstream input(file);
  return {std::istreambuf_iterator<char>(input), {}};
}

void parse_request(ly_ctx *context, const std::string &request) {
  lyd_node *tree = nullptr;
  if (lyd_parse_data_mem(context, request.c_str(), LYD_XML, LYD_PARSE_ONLY | LYD_PARSE_OPAQ, 0, &tree) !=
      LY_SUCCESS)
    throw std::runtime_error("the request is no XML");
  lyd_free_all(tree);
}

void pass_data(ly_ctx *context, const std::string &data, LYD_FORMAT format) {
  lyd_node *tree = nullptr;
  if (lyd_parse_data_mem(context, data.c_str(), format, LYD_PARSE_STRICT, LYD_VALIDATE_PRESENT, &tree) !=
      LY_SUCCESS)
    throw std::runtime_error("the data is not valid");
  char *text = nullptr;
  lyd_print_mem(&text, tree, format,
                libyang::kPrintSiblings | (format == LYD_XML ? uint32_t{LYD_PRINT_SHRINK} : 0U));
  std::free(text);
  lyd_free_all(tree);
}

void run(const std::string &kind, const char *folder, const char *request_file, const char *data_file,
         int rounds) {
  const bool edit = kind == "edit";
  const device::ModelFolders models({folder});
  ly_ctx *bare = nullptr;
  if (libyang::new_context(&bare) != LY_SUCCESS) throw std::runtime_error("no context");
  ly_ctx *context = models.make_context();
  for (const char *module : {"openconfig-optical-amplifier", "Velm-NALTO-controller-ots-cfg"})
    if (context == nullptr || ly_ctx_load_module(context, module, nullptr, nullptr) == nullptr)
      throw std::runtime_error("no module " + std::string(module));
  const auto request = content_of(request_file), data = content_of(data_file);
  for (int round = 0; round < rounds; ++round) {
    parse_request(bare, request);
    pass_data(context, data, edit ? LYD_JSON : LYD_XML);
  }
  ly_ctx_destroy(context);
  ly_ctx_destroy(bare);
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 6) {
    std::cerr << "usage: libyang_rounds KIND FOLDER-OF-MODELS REQUEST DATA ROUNDS\n";
    return 2;
  }
  try {
    run(argv[1], argv[2], argv[3], argv[4], std::atoi(argv[5]));
    return 0;
  } catch (const std::exception &error) {
    std::cerr << "libyang_rounds: " << error.what() << "\n";
    return 2;
  }
}
