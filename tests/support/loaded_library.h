// Shared libraries in this process, as the system's loader knows them.
#pragma once

// Loads the library of that file and keeps it; null if that fails, with the reason on standard
// error.
void* LoadLibraryFile(const char* file);

// The library that holds this address, valid for as long as it is loaded; null if none does.
void* LibraryWith(const void* address);

// The function of this symbol, in the library or in the protobuf runtime that it needs; null if
// neither exports it.
const void* FindFunction(void* library, const char* symbol);

// Where a call of this function leads: a DLL reaches those of another by a jump of its own.
const void* Destination(const void* function);
