#pragma once

// What went into a request and came out of it: superglobals, headers, bodies.

// Collects the response's body. Call it before the first request.
void CaptureOutput();

void BeginCapture();
void EndCapture();
