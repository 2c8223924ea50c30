#include "schema/field_relations.h"

#include <qmsg/config.pb.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

namespace qmsg {

using quor::protobuf::Config::Value;
using quor::protobuf::Monitor::Event;
using quor::protobuf::QuorPHP::QVal;
using quor::protobuf::Tarq::RawPostData;

const TypeTag* TagOf(const google::protobuf::Descriptor* type) {
  static const TypeTag kQVal{
      QVal::kValueTypeFieldNumber,
      {0, 0, QVal::kBoolValueFieldNumber, QVal::kStringValueFieldNumber, QVal::kIntValueFieldNumber,
       QVal::kDoubleValueFieldNumber, QVal::kJsonValueFieldNumber, QVal::kTmValueFieldNumber}};
  static const TypeTag kValue{Value::kValueTypeFieldNumber,
                              {0, Value::kBoolValueFieldNumber, Value::kIntValueFieldNumber,
                               Value::kUintValueFieldNumber, Value::kDoubleValueFieldNumber,
                               Value::kStringValueFieldNumber, Value::kJsonValueFieldNumber}};
  static const TypeTag kEvent{Event::kEventTypeFieldNumber,
                              {Event::kExecTimeFieldNumber, 0, Event::kExecTimeFieldNumber,
                               Event::kMemoryUsageBytesFieldNumber, Event::kPhpErrorFieldNumber,
                               Event::kCustomFieldNumber}};
  return type == QVal::descriptor()    ? &kQVal
         : type == Value::descriptor() ? &kValue
         : type == Event::descriptor() ? &kEvent
                                       : nullptr;
}

const LengthOf* LengthIn(const google::protobuf::Descriptor* type) {
  static const LengthOf kPost{RawPostData::kContentLengthFieldNumber,
                              RawPostData::kDataFieldNumber};
  return type == RawPostData::descriptor() ? &kPost : nullptr;
}

}  // namespace qmsg
