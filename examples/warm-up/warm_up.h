#pragma once

// Builds the reflection data of all messages, and what JSON needs. Call it before the process forks
// or starts threads.
void WarmUp();
