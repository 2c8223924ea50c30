#pragma once

#include <chrono>

// Sets a flag in the engine at an interval, from a thread of its own.

// Call it once, when PHP starts.
void InstallSampler(void (*take_sample)(void* execute_data));

// Starts the thread if this process has none.
void StartSampling(std::chrono::microseconds interval);

// The thread sleeps until the next start.
void StopSampling();

void SamplingAfterFork();
