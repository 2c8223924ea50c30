#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Whether the bytes are UTF-8, as a reader of the messages demands it.
bool IsUtf8(std::string_view bytes);

// Appends the bytes as UTF-8: a byte that is part of no character becomes \xNN, and NUL \0.
void AppendUtf8(std::string& text, std::string_view bytes);

// The same as a text of its own.
std::string Utf8(std::string_view bytes);

// The longest prefix of at most `size` bytes that does not end inside a character.
std::string_view Prefix(std::string_view text, std::size_t size);

std::string Lower(std::string_view text);
