#pragma once

// Function times. `sample`: a thread asks the engine at an interval to look at the call stack; no
// call is counted. `exact`: the engine's observer reports each call of a function that is written
// in PHP.

// `exact` has to be known when PHP starts: the observer costs something even for requests that do
// not use it.
void RegisterFunctionTimes();

void BeginFunctions();
void EndFunctions();

// The thread of the parent process is not in a forked one.
void FunctionsAfterFork();
