// The headers are found without their folder as well.
#include "tarq.pb.h"

const quor::protobuf::Tarq::SqlError* DefaultErrorElsewhere() {
  return &quor::protobuf::Tarq::SqlError::default_instance();
}
