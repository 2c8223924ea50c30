// Messages that between them have every kind of field that needs memory.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/prototypes.h"

namespace allocation {

using contract::Message;

struct Content {
  std::string name;
  const Message* prototype;
  // Through the accessors; `variant` gives other values.
  void (*build)(Message& message, int variant);

  std::unique_ptr<Message> Built(int variant) const;
};

const std::vector<Content>& Contents();

}  // namespace allocation
