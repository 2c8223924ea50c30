#pragma once

#include <qmsg/quorphp.pb.h>

#include <string>
#include <string_view>

#include "recorder/engine.h"
#include "recorder/redaction.h"

// How PHP values and texts become parts of messages.

struct ValueLimits {
  std::size_t text = 0;      // bytes of a text; an array may have four times as many
  std::size_t elements = 0;  // of an array, at each level
};

class ValueWriter {
 public:
  ValueWriter(Redaction& redaction, ValueLimits limits) : redaction_(&redaction), limits_(limits) {}

  // Appends what Text() returns, as a JSON string.
  void AppendJsonText(std::string_view bytes, std::string& json) const;

  // Text as UTF-8, redacted, and cut with "..." behind it.
  std::string Text(std::string_view bytes) const;

  // Scalars as they are. An array is JSON text, an object {"class": its class}, an enumeration's
  // case
  // {"enum": its name}, a resource {"resource": its type}. `name` is that of the parameter or key.
  // No code of the program runs.
  void Write(const zval* value, std::string_view name, quor::protobuf::QuorPHP::QVal& result) const;

  // A secret may be in a later text without its name, as in an exception's message.
  void Remember(const zval* secret) const;

  bool IsSecretName(std::string_view name) const { return redaction_->IsSecretName(name); }

  static void WriteRedacted(quor::protobuf::QuorPHP::QVal& result);

 private:
  bool IsKeptAsItIs(std::string_view bytes) const;
  void AppendJson(const zval* value, int depth, std::string& json) const;
  void AppendJsonArray(HashTable* array, int depth, std::string& json) const;

  Redaction* redaction_;
  ValueLimits limits_;
};

// Name of a class without what PHP hides in it: a class without a name has its file behind a NUL.
std::string_view ClassName(const zend_class_entry* type);
