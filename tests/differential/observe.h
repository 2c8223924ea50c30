// Everything that a program can observe of a message: reading in each way, writing, and what
// programs do with a message in between.
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

// Returns whether the bytes are accepted. The result is the same for each run of a build. The order
// of a map changes from run to run, so bytes that depend on it do not count.
bool Observe(const Input& input, Observations& observations);

}  // namespace differential
