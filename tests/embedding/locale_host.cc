// Prints numbers in the locale of the environment: the C library's way, and as messages.

#include <google/protobuf/text_format.h>
#include <google/protobuf/util/json_util.h>
#include <qmsg/config.pb.h>

#include <clocale>
#include <cstdio>
#include <iostream>
#include <locale>
#include <string>

int main() {
  std::locale::global(std::locale(""));
  std::printf("C library: %.2f\n", 1234.5);

  quor::protobuf::Config::Value value;
  value.set_double_value(1234.5);
  std::string json;
  std::string text;
  quor::protobuf::Config::Value from_json;
  quor::protobuf::Config::Value from_text;
  if (!google::protobuf::util::MessageToJsonString(value, &json).ok() ||
      !google::protobuf::util::JsonStringToMessage(json, &from_json).ok() ||
      !google::protobuf::TextFormat::PrintToString(value, &text) ||
      !google::protobuf::TextFormat::ParseFromString(text, &from_text)) {
    return 1;
  }
  std::printf("JSON: %s, read as %.2f\n", json.c_str(), from_json.double_value());
  std::printf("text: %sread as %.2f\n", text.c_str(), from_text.double_value());
}
