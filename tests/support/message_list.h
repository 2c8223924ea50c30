// All message classes of the library, for what depends on the static type.
#pragma once

#include <qmsg/codetrace.pb.h>
#include <qmsg/config.pb.h>
#include <qmsg/jobqueue.pb.h>
#include <qmsg/login.pb.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

namespace contract {

namespace CT = quor::protobuf::CT;
namespace Config = quor::protobuf::Config;
namespace JQ = quor::protobuf::JQ;
namespace Login = quor::protobuf::Login;
namespace Monitor = quor::protobuf::Monitor;
namespace QuorPHP = quor::protobuf::QuorPHP;
namespace Tarq = quor::protobuf::Tarq;

template <class M>
struct Type {
  using Message = M;
};

template <class... Messages>
struct TypeList {
  template <class Visitor>
  static void ForEach(const Visitor& visit) {
    (visit(Type<Messages>{}), ...);
  }
};

using AllMessages = TypeList<
    CT::Header, Config::Value, Config::Namespace, Config::Set, JQ::Result, JQ::AttrList,
    JQ::QueueId, JQ::QueueIdList, JQ::Queue, JQ::QueueList, JQ::JobId, JQ::JobIdList, JQ::Job,
    JQ::JobList, Login::Login, Login::Config, Monitor::Superglobals, Monitor::FunctionData,
    Monitor::PhpErrorData, Monitor::CustomEventData, Monitor::Event, QuorPHP::Error,
    QuorPHP::PhpVersion, QuorPHP::QVal, QuorPHP::SuperglobalValue, QuorPHP::SuperglobalVariable,
    QuorPHP::QuorArrayValue, QuorPHP::QuorArray, QuorPHP::StackTraceFrame, QuorPHP::StackTrace,
    QuorPHP::RInitData, QuorPHP::RShutdownData, Tarq::Function, Tarq::Functions, Tarq::Error,
    Tarq::StorageData, Tarq::Storage, Tarq::Superglobals, Tarq::RequestHeaders, Tarq::RawPostData,
    Tarq::ResponseHeaders, Tarq::ResponseBody, Tarq::SqlConnection, Tarq::SqlConnections,
    Tarq::SqlTransaction, Tarq::SqlTransactions, Tarq::SqlError, Tarq::SqlQuery, Tarq::SqlQueries>;

}  // namespace contract
