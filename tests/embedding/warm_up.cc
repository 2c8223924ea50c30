#include "warm_up.h"

#include <google/protobuf/util/json_util.h>
#include <qmsg/codetrace.pb.h>
#include <qmsg/config.pb.h>
#include <qmsg/jobqueue.pb.h>
#include <qmsg/login.pb.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <string>

void WarmUp() {
  namespace pb = quor::protobuf;
  pb::CT::Header::descriptor();  // any message of a file stands for all of the file
  pb::Config::Set::descriptor();
  pb::JQ::Job::descriptor();
  pb::Login::Login::descriptor();
  pb::Monitor::Event::descriptor();
  pb::QuorPHP::QVal::descriptor();
  pb::Tarq::SqlQuery::descriptor();

  pb::Login::Login message;  // JSON has tables of its own
  message.set_hostname("localhost");
  std::string json;
  google::protobuf::util::MessageToJsonString(message, &json);
}
