#pragma once

// Included by each generated source after its own header. Makes the compiler emit the inline
// members that only this source defines: SharedCtor, SharedDtor, the constructors of default
// instances.

// The generated sources include these, whose keywords must stay plain.
#include <google/protobuf/descriptor.h>
#include <google/protobuf/extension_set.h>
#include <google/protobuf/generated_message_reflection.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/reflection_ops.h>
#include <google/protobuf/wire_format.h>
#include <google/protobuf/wire_format_lite.h>

#include <algorithm>

#define inline inline __attribute__((used))
#define constexpr constexpr __attribute__((used))
