// Mutates bytes by the structure of the wire format. Random changes mostly produce a wrong length,
// so nested fields would hardly ever change.
#pragma once

#include <cstddef>
#include <functional>
#include <random>
#include <string>

namespace fuzz {

using Random = std::minstd_rand;

// Changes bytes without regard to their structure. The result has at most `max_size` bytes.
using ChangeBytes = std::function<std::string(const std::string& bytes, std::size_t max_size)>;

// Removes a field, repeats one, or changes the content of one and corrects its length, at any
// depth. Sometimes it leaves everything to `change`. The result has at most `max_size` bytes.
std::string Mutate(const std::string& bytes, std::size_t max_size, Random& random,
                   const ChangeBytes& change);

}  // namespace fuzz
