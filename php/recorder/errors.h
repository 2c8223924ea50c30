#pragma once

// PHP's errors, and exceptions that nothing caught. Caught ones are counted: a page may have
// dozens.

void RegisterErrorHandlers();

void BeginErrors();
void EndErrors();
