// The messages that are measured: six that stand for the traffic of a monitored PHP application.

#ifndef BENCH_WORKLOADS_H_
#define BENCH_WORKLOADS_H_

#include <qmsg/jobqueue.pb.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/tarq.pb.h>

namespace bench {

namespace JQ = quor::protobuf::JQ;
namespace Monitor = quor::protobuf::Monitor;
namespace Tarq = quor::protobuf::Tarq;

// Each fills an empty message by its setters, with the same content in every process and from text
// that is made only once: in a loop, they show what it costs to build the message.

// One statement with the stack that ran it, some 1.2 KB.
void Fill(Tarq::SqlQuery& query);
// The statements of a request: 100 of them, some 125 KB.
void Fill(Tarq::SqlQueries& queries);
// The timings of 2,000 functions, some 205 KB.
void Fill(Tarq::Functions& functions);
// 500 jobs with the maps of their attributes, some 175 KB.
void Fill(JQ::JobList& list);
// A PHP error as a rule reports it, with a stack, some 2 KB.
void Fill(Monitor::Event& event);
// Little but text: 300 passages, Latin, Cyrillic and Chinese by turns, some 180 KB.
void Fill(Tarq::Storage& storage);

// As many statements as wanted, of which the first 100 are those of above.
void FillStatements(int count, Tarq::SqlQueries& queries);

// Calls `action.operator()<Type>(name)` for each of the six, in the order of above. The names are
// SqlQuery, SqlQueries, Functions, JobList, Event and Text.
template <class Action>
void ForEachWorkload(Action&& action) {
  action.template operator()<Tarq::SqlQuery>("SqlQuery");
  action.template operator()<Tarq::SqlQueries>("SqlQueries");
  action.template operator()<Tarq::Functions>("Functions");
  action.template operator()<JQ::JobList>("JobList");
  action.template operator()<Monitor::Event>("Event");
  action.template operator()<Tarq::Storage>("Text");
}

// The bytes of a message, the same in every process: a map's entries go by their keys.
std::string BytesOf(const google::protobuf::MessageLite& message);

// A filled message.
template <class T>
T Filled() {
  T message;
  Fill(message);
  return message;
}

}  // namespace bench

#endif  // BENCH_WORKLOADS_H_
