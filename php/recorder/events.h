#pragma once

#include <qmsg/tarq.pb.h>

#include "recorder/engine.h"

// Monitoring events, by the rules that the settings make.

void RecordErrorEvent(const quor::protobuf::Tarq::Error& error);

// At the end of a request: it was slow, or took much memory.
void RecordRequestEvents();

// Replaces the handlers of the functions that qmsg.watch_functions lists, so that slow calls and
// calls that return false become events.
void WatchFunctions();

// qmsg_event(): php/qmsg.stub.php documents it.
PHP_FUNCTION(qmsg_event);
