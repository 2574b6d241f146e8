// The tool; commands with programs of their own are left to those.
#include "commands.hpp"

int main(int argc, char **argv) {
  return ymap::run_tool(argc, argv);
}
