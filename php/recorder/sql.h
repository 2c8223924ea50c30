#pragma once

// Connections, transactions and statements of PDO, mysqli and SQLite3. The handlers of their
// functions are replaced, so that nothing is paid for other calls.

// Replaces the handlers. Call it when all extensions have started, before a server forks.
void ReplaceSqlHandlers();
