#include "recorder/lifecycle.h"

#include <pthread.h>

#include "recorder/capture.h"
#include "recorder/engine.h"
#include "recorder/errors.h"
#include "recorder/events.h"
#include "recorder/functions.h"
#include "recorder/recording.h"
#include "recorder/sql.h"
#include "recorder/sql_state.h"

namespace {

zend_result (*previous_post_startup)() = nullptr;

// All extensions have started, and no server has forked yet.
zend_result PostStartup() {
  ReplaceSqlHandlers();
  WatchFunctions();
  CaptureOutput();
  if (!CurrentSettings().output.empty()) {
    Guarded(BuildDescriptors);
  }
  return previous_post_startup == nullptr ? SUCCESS : previous_post_startup();
}

// A process that a program forks is a request of its own.
void AfterFork() {
  if (recording.is_on()) {
    Guarded([] {
      recording.Forked();
      sql_state.Begin();
      BeginErrors();
      BeginCapture();
    });
  }
  Guarded(FunctionsAfterFork);
}

}  // namespace

void StartRecorder() {
  previous_post_startup = zend_post_startup_cb;
  zend_post_startup_cb = PostStartup;
  RegisterErrorHandlers();
  RegisterFunctionTimes();
  pthread_atfork(nullptr, nullptr, AfterFork);
}

void BeginRequest() {
  Guarded([] {
    recording.Begin();
    if (recording.is_on()) {
      sql_state.Begin();
      BeginErrors();
      BeginCapture();
      BeginFunctions();
    }
  });
}

void EndRequest() {
  if (recording.is_on()) {
    Guarded([] {
      EndFunctions();
      sql_state.End();
      EndErrors();
      EndCapture();
      RecordRequestEvents();
      recording.End();
    });
  }
}
