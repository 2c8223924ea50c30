// Changes bytes the way messages are built. Bytes changed at random mostly end in a wrong length,
// so what lies deep in a message would hardly ever change.
#pragma once

#include <cstddef>
#include <functional>
#include <random>
#include <string>

namespace fuzz {

using Random = std::minstd_rand;

// Changes bytes without knowing what they are; the result has at most that many bytes.
using ChangeBytes = std::function<std::string(const std::string& bytes, std::size_t max_size)>;

// Leaves out a field, repeats one, or changes what is in one and makes its length right, at any
// depth; often enough it leaves all to `change`. The result has at most `max_size` bytes.
std::string Mutate(const std::string& bytes, std::size_t max_size, Random& random,
                   const ChangeBytes& change);

}  // namespace fuzz
