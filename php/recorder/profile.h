#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "recorder/engine.h"
#include "recorder/recording.h"

// What is known of one function.
struct FunctionTime {
  std::string name;
  std::string file;
  std::uint32_t first_line = 0;
  std::uint32_t last_line = 0;
  bool is_user = false;
  std::uint32_t calls = 0;
  Clock::duration inclusive{};
  Clock::duration exclusive{};
  std::uint32_t running = 0;      // calls of it that have not ended
  std::uint64_t last_sample = 0;  // number of the sample that it was seen in last
};

// The times of a request's functions, by name and place: the address of a function is used again
// when the code of an eval() is freed.
class Profile {
 public:
  void Clear() { functions_.clear(); }
  bool is_empty() const { return functions_.empty(); }

  // Null if the request has too many functions. What it points to stays where it is.
  FunctionTime* Find(const zend_function* function);

  // Appends the record Functions.
  void Record() const;

 private:
  std::unordered_map<std::string, FunctionTime> functions_;
  std::string key_;
};
