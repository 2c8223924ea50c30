// Emits the members that the generated sources leave to their users. CMakeLists.txt has it compiled
// so that it emits all inline members of the headers; the code below causes the others.

#include "codetrace.pb.h"
#include "config.pb.h"
#include "jobqueue.pb.h"
#include "login.pb.h"
#include "monitor.pb.h"
#include "quorphp.pb.h"
#include "tarq.pb.h"

// The generated sources define every other constant themselves.
#define QMSG_DEFINE_INDEX(message) constexpr int quor::protobuf::message::kIndexInFileMessages

QMSG_DEFINE_INDEX(CT::Header);

QMSG_DEFINE_INDEX(Config::Value);
QMSG_DEFINE_INDEX(Config::Namespace);
QMSG_DEFINE_INDEX(Config::Set);

QMSG_DEFINE_INDEX(JQ::Result);
QMSG_DEFINE_INDEX(JQ::AttrList);
QMSG_DEFINE_INDEX(JQ::QueueId);
QMSG_DEFINE_INDEX(JQ::QueueIdList);
QMSG_DEFINE_INDEX(JQ::Queue);
QMSG_DEFINE_INDEX(JQ::QueueList);
QMSG_DEFINE_INDEX(JQ::JobId);
QMSG_DEFINE_INDEX(JQ::JobIdList);
QMSG_DEFINE_INDEX(JQ::Job);
QMSG_DEFINE_INDEX(JQ::JobList);

QMSG_DEFINE_INDEX(Login::Login);
QMSG_DEFINE_INDEX(Login::Config);

QMSG_DEFINE_INDEX(Monitor::Superglobals);
QMSG_DEFINE_INDEX(Monitor::FunctionData);
QMSG_DEFINE_INDEX(Monitor::PhpErrorData);
QMSG_DEFINE_INDEX(Monitor::CustomEventData);
QMSG_DEFINE_INDEX(Monitor::Event);

QMSG_DEFINE_INDEX(QuorPHP::Error);
QMSG_DEFINE_INDEX(QuorPHP::PhpVersion);
QMSG_DEFINE_INDEX(QuorPHP::QVal);
QMSG_DEFINE_INDEX(QuorPHP::SuperglobalValue);
QMSG_DEFINE_INDEX(QuorPHP::SuperglobalVariable);
QMSG_DEFINE_INDEX(QuorPHP::QuorArrayValue);
QMSG_DEFINE_INDEX(QuorPHP::QuorArray);
QMSG_DEFINE_INDEX(QuorPHP::StackTraceFrame);
QMSG_DEFINE_INDEX(QuorPHP::StackTrace);
QMSG_DEFINE_INDEX(QuorPHP::RInitData);
QMSG_DEFINE_INDEX(QuorPHP::RShutdownData);

QMSG_DEFINE_INDEX(Tarq::Function);
QMSG_DEFINE_INDEX(Tarq::Functions);
QMSG_DEFINE_INDEX(Tarq::Error);
QMSG_DEFINE_INDEX(Tarq::StorageData);
QMSG_DEFINE_INDEX(Tarq::Storage);
QMSG_DEFINE_INDEX(Tarq::Superglobals);
QMSG_DEFINE_INDEX(Tarq::RequestHeaders);
QMSG_DEFINE_INDEX(Tarq::RawPostData);
QMSG_DEFINE_INDEX(Tarq::ResponseHeaders);
QMSG_DEFINE_INDEX(Tarq::ResponseBody);
QMSG_DEFINE_INDEX(Tarq::SqlConnection);
QMSG_DEFINE_INDEX(Tarq::SqlConnections);
QMSG_DEFINE_INDEX(Tarq::SqlTransaction);
QMSG_DEFINE_INDEX(Tarq::SqlTransactions);
QMSG_DEFINE_INDEX(Tarq::SqlError);
QMSG_DEFINE_INDEX(Tarq::SqlQuery);
QMSG_DEFINE_INDEX(Tarq::SqlQueries);

#undef QMSG_DEFINE_INDEX

namespace {

// A trivial assignment operator exists as a function only if its address is taken.
template <typename Table>
struct Assignments {
  static Table& (Table::*const copy)(const Table&);
  static Table& (Table::*const move)(Table&&);
};

template <typename Table>
Table& (Table::*const Assignments<Table>::copy)(const Table&) = &Table::operator=;

template <typename Table>
Table& (Table::*const Assignments<Table>::move)(Table&&) = &Table::operator=;

template struct Assignments<TableStruct_codetrace_2eproto>;
template struct Assignments<TableStruct_config_2eproto>;
template struct Assignments<TableStruct_jobqueue_2eproto>;
template struct Assignments<TableStruct_login_2eproto>;
template struct Assignments<TableStruct_monitor_2eproto>;
template struct Assignments<TableStruct_quorphp_2eproto>;
template struct Assignments<TableStruct_tarq_2eproto>;

// Only derived classes call a base's destructor, which has a symbol of its own.
class DerivedEntry : quor::protobuf::JQ::AttrList_AttrListEntry_DoNotUse {
  ~DerivedEntry() override;
};

DerivedEntry::~DerivedEntry() = default;

}  // namespace
