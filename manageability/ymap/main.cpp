// Errors that no command handles become a line and an exit status here.
#include <exception>
#include <iostream>

#include "commands.hpp"
#include "options.hpp"
#include "printable.hpp"
#include "rpc_error.hpp"
#include "terminal.hpp"

int main(int argc, char **argv) {
  ymap::Options options;
  try {
    if (const auto status = ymap::parse_command_line(argc, argv, options)) {
      ymap::flush_output();
      return *status;
    }
    return ymap::run_command(options);
  } catch (const ymap::RpcError &error) {
    std::cerr << "ymap: error: " << ymap::describe(error.fault()) << "\n";
    return ymap::kRefused;
  } catch (const std::exception &error) {
    std::cerr << "ymap: error: " << ymap::printable(error.what()) << "\n";
    return ymap::kUnusable;
  }
}
