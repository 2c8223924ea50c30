// Why a message cannot be written or read, and how PHP is told.
#pragma once

#include <php.h>

#include <cstdint>
#include <string>
#include <utility>

namespace qmsg::php {

struct Failure {
  std::string text;          // with the path, and of bytes with the offset
  std::string path;          // of the field; empty: the message as a whole
  std::int64_t offset = -1;  // in the bytes, from 0; -1: an array was written
};

// Registers QmsgException.
void RegisterException();

// The engine may jump out of Throw, over all destructors. So the failure lies where the next one
// takes its place.
Failure& LastFailure();

// Throws the last failure as a QmsgException.
void ThrowLastFailure();

// Calls `action`, and keeps what it throws as the last failure: no C++ exception may reach the
// engine. `action` must not call what raises an error of the engine, which would jump over its
// destructors.
template <typename Action>
bool Guarded(Action action) noexcept;

// The last failure from the exception that is being handled.
void KeepException() noexcept;

template <typename Action>
bool Guarded(Action action) noexcept {
  try {
    action();
    return true;
  } catch (...) {
    KeepException();
    return false;
  }
}

}  // namespace qmsg::php
