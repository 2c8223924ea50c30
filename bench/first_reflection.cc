// The cost of the first use of reflection in a process. Prints its nanoseconds and the private
// memory that it adds, in KiB.

#include <google/protobuf/descriptor.h>
#include <qmsg/tarq.pb.h>

#include <chrono>
#include <cstdio>
#include <exception>

#include "private_memory.h"

int main() try {
  bench::PrivateDirty();  // allocates on the first call
  const long memory = bench::PrivateDirty();
  const auto start = std::chrono::steady_clock::now();
  const google::protobuf::Descriptor* const descriptor =
      quor::protobuf::Tarq::SqlQuery::descriptor();
  const std::chrono::nanoseconds time = std::chrono::steady_clock::now() - start;
  const long growth = bench::PrivateDirty() - memory;
  if (descriptor->full_name() != "quor.protobuf.Tarq.SqlQuery") {
    throw std::runtime_error("not the descriptor of SqlQuery: " + descriptor->full_name());
  }
  std::printf("%lld\t%ld\n", static_cast<long long>(time.count()), growth);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "bench_first_reflection: %s\n", error.what());
  return 1;
}
