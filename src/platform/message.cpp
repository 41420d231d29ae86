#include "platform/message.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

enum { MESSAGE_SIZE = 1024 };

static QbMessageSink messageSink = nullptr;

static void formatText(char* text, const char* format, va_list arguments) {
    if (vsnprintf(text, MESSAGE_SIZE, format, arguments) < 0) text[0] = '\0';
}

void qbMessage(const char* format, ...) {
    char text[MESSAGE_SIZE];
    va_list arguments;
    va_start(arguments, format);
    formatText(text, format, arguments);
    va_end(arguments);

    // Some texts bring a line end of their own.
    const size_t length = strlen(text);
    const bool ended = length > 0 && text[length - 1] == '\n';
    fprintf(stderr, ended ? "%s" : "%s\n", text);
    if (messageSink) messageSink(text);
}

void qbMessageSetSink(QbMessageSink sink) {
    messageSink = sink;
}

void qbTrace(const char* format, ...) {
    char text[MESSAGE_SIZE];
    va_list arguments;
    va_start(arguments, format);
    formatText(text, format, arguments);
    va_end(arguments);

    fputs(text, stdout);
    fflush(stdout);
}
