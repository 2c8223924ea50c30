// What a program can see of a message: by reading bytes in each way, by writing what was read, and
// by what programs do with messages in between.
#pragma once

#include <string>

#include "inputs.h"

namespace differential {

class Observations {
 public:
  Observations() = default;
  virtual ~Observations() = default;
  Observations(const Observations&) = delete;
  Observations& operator=(const Observations&) = delete;

  // `variant` is the size, limit or the like that the stage was done with.
  virtual void Add(const char* stage, int variant, const std::string& result) = 0;
};

// Returns whether the bytes are accepted. All is the same for each run of a build: where a message
// holds a map, whose order of writing changes from run to run, bytes count only as far as they do
// not depend on it.
bool Observe(const Input& input, Observations& observations);

}  // namespace differential
