#pragma once

// What the module does when PHP starts, and when requests begin and end.

void StartRecorder();
void BeginRequest();
void EndRequest();
