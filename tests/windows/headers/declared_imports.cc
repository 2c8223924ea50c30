// Uses the library's data as MSVC imports it: declared to be, and found without help of the
// linker's. Succeeds if it is the library's own.

#include <qmsg/tarq.pb.h>

int main() {
  using quor::protobuf::Tarq::Error;
  using quor::protobuf::Tarq::SqlQuery;
  const void* const instance = &quor::protobuf::Tarq::_SqlQuery_default_instance_;
  const auto* const severity = &Error::ERROR;
  const bool right = descriptor_table_tarq_2eproto.num_messages == 17 &&
                     descriptor_table_tarq_2eproto.offsets == TableStruct_tarq_2eproto::offsets &&
                     instance == &SqlQuery::default_instance() && *severity == 3;
  return right ? 0 : 1;
}
