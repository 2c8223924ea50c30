// The measured messages: six that represent the traffic of a monitored PHP application.

#ifndef BENCH_WORKLOADS_H_
#define BENCH_WORKLOADS_H_

#include <qmsg/jobqueue.pb.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/tarq.pb.h>

namespace bench {

namespace JQ = quor::protobuf::JQ;
namespace Monitor = quor::protobuf::Monitor;
namespace Tarq = quor::protobuf::Tarq;

// Each function fills an empty message by its setters, with the same content in every process. The
// text is made only once, so that in a loop they measure the cost of building the message.

// One statement with the stack that ran it, about 1.2 KB.
void Fill(Tarq::SqlQuery& query);
// The statements of a request: 100 of them, about 125 KB.
void Fill(Tarq::SqlQueries& queries);
// The timings of 2,000 functions, about 205 KB.
void Fill(Tarq::Functions& functions);
// 500 jobs with the maps of their attributes, about 175 KB.
void Fill(JQ::JobList& list);
// A PHP error as a rule reports it, with a stack, about 2 KB.
void Fill(Monitor::Event& event);
// Almost only text: 300 passages, alternately Latin, Cyrillic and Chinese, about 180 KB.
void Fill(Tarq::Storage& storage);

// `count` statements. The first 100 are those of the workload.
void FillStatements(int count, Tarq::SqlQueries& queries);

// Calls `action.operator()<Type>(name)` for each workload, in the order above. The names are
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

// The bytes of a message, the same in every process: map entries are sorted by key.
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
