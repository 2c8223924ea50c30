// A plugin of someone else, with messages of its own.

#include QMSG_NEIGHBOUR_HEADER

#include <cstdio>
#include <string>

#include "plugin.h"

namespace {

int Use() {
  neighbour::Session sent;
  sent.set_user("me");
  neighbour::Session received;
  if (!received.ParseFromString(sent.SerializeAsString()) || received.user() != "me") {
    std::fprintf(stderr, "neighbour: its message is lost\n");
    return 1;
  }
  std::printf("neighbour reads and writes\n");
  std::fflush(stdout);
  if (received.GetTypeName() != "neighbour.Session") {
    std::fprintf(stderr, "neighbour: its message became another\n");
    return 1;
  }
  return 0;
}

}  // namespace

extern "C" const Plugin qmsg_plugin;
const Plugin qmsg_plugin = {&Use, nullptr, nullptr, nullptr, nullptr, nullptr};
