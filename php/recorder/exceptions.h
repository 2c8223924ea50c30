#pragma once

#include <string_view>

#include "recorder/engine.h"

// The message of an exception, which the caller releases. No code of the program runs.
zend_string* ExceptionMessage(zend_object* exception);

// Whether it stands for exit(), which the engine throws like an exception.
bool IsExit(const zend_object* exception);
