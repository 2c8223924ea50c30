// What is left of the library after google::protobuf::ShutdownProtobufLibrary().

#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/stubs/common.h>
#include <gtest/gtest.h>
#include <qmsg/jobqueue.pb.h>
#include <qmsg/tarq.pb.h>

#include <cstdlib>
#include <string>

#include "use.h"

namespace {

using google::protobuf::Arena;
using google::protobuf::DescriptorPool;
using google::protobuf::ShutdownProtobufLibrary;
using quor::protobuf::JQ::AttrList;
using quor::protobuf::Tarq::SqlQueries;

constexpr int kGood = 0;
constexpr int kBad = 2;

// Ends the process, and says by its exit status whether the task returned true.
[[noreturn]] void AfterShutdown(bool (*task)()) {
  if (!embedding::Use().empty()) {
    std::_Exit(kBad);
  }
  ShutdownProtobufLibrary();
  std::_Exit(task() ? kGood : kBad);
}

bool DidNotWork(int status) { return !WIFEXITED(status) || WEXITSTATUS(status) != kGood; }

struct Case {
  const char* name;
  bool (*task)();
};

void PrintTo(const Case& of, std::ostream* out) { *out << of.name; }

class Shutdown : public testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(
    , Shutdown,
    testing::Values(Case{"reading_and_writing",
                         [] {
                           // queries, field 2: query, field 5; then an unknown varint, field 1000
                           const std::string bytes = "\x12\x03\x2a\x01q\xc0\x3e\x07";
                           SqlQueries queries;
                           return queries.ParseFromString(bytes) &&
                                  queries.queries(0).query() == "q" &&
                                  queries.queries(0).error().message().empty() &&
                                  queries.SerializeAsString() == bytes;
                         }},
                    Case{"copying_and_clearing",
                         [] {
                           SqlQueries one;
                           one.add_queries()->set_query("q");
                           SqlQueries two = one;
                           two.MergeFrom(one);
                           one.Clear();
                           return two.queries_size() == 2 && one.queries_size() == 0;
                         }},
                    Case{"maps",
                         [] {
                           AttrList one;
                           (*one.mutable_attr_list())[7].set_string_value("seven");
                           AttrList two;
                           return two.ParseFromString(one.SerializeAsString()) &&
                                  two.attr_list().at(7).string_value() == "seven";
                         }},
                    Case{"arenas",
                         [] {
                           Arena arena;
                           auto* queries = Arena::CreateMessage<SqlQueries>(&arena);
                           queries->add_queries()->set_query("longer than a short string");
                           return queries->ByteSizeLong() == 2 + 2 + 26;
                         }}),
    [](const auto& of) { return of.param.name; });

TEST_P(Shutdown, LeavesWhatNeedsNoReflection) {
  EXPECT_EXIT(AfterShutdown(GetParam().task), testing::ExitedWithCode(kGood), "");
}

// It reads freed memory: whatever it does, it is not what was asked for.
TEST(ShutdownDeathTest, TakesReflectionAway) {
  EXPECT_EXIT(AfterShutdown([] {
                return DescriptorPool::generated_pool()->FindMessageTypeByName(
                           "quor.protobuf.JQ.Job") != nullptr;
              }),
              DidNotWork, "");
}

}  // namespace
