#pragma once

// Marks of what the program spends its time on ("meshes"), for whoever measures it. Without a sink a mark
// costs a comparison.

// Called as a span of this name begins (isBegin 1) and ends (0). Spans nest. The name lives for ever.
typedef void (*QbSpanSink)(const char* name, int isBegin);

// Null removes it. One for the process; spans are marked on the thread that draws.
void qbSpanSetSink(QbSpanSink sink);

// A span from here to the end of the scope.
class QbSpan {
public:
    explicit QbSpan(const char* name);
    ~QbSpan();
    QbSpan(const QbSpan&) = delete;
    QbSpan& operator=(const QbSpan&) = delete;

private:
    const char* name_;
};
