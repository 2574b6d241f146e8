// The tool with the gNMI front.
#include "commands.hpp"
#include "server.hpp"

int main(int argc, char **argv) {
  return ymap::run_tool(argc, argv, {.gnmi = ymap::telemetry::serve});
}
