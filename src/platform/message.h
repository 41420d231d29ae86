#pragma once

// What the program says to its user and to its developer.

// Shows `text`, zero-terminated, and returns when the user has read it.
using QbMessageSink = void (*)(const char* text);

// Formats at most 1023 characters, writes them with a line end to the error stream, and hands them to the
// sink.
[[gnu::format(printf, 1, 2)]] void qbMessage(const char* format, ...);

// Replaces the sink; null (the state at start) leaves the error stream alone.
void qbMessageSetSink(QbMessageSink sink);

// The developer's trace: formats at most 1023 characters and writes them to the standard output
// (on Windows to the debugger as well). Adds no line end.
[[gnu::format(printf, 1, 2)]] void qbTrace(const char* format, ...);
