#include "platform/span.h"

static QbSpanSink spanSink;

void qbSpanSetSink(QbSpanSink sink) {
    spanSink = sink;
}

QbSpan::QbSpan(const char* name) : name_(name) {
    if (spanSink) spanSink(name_, 1);
}

QbSpan::~QbSpan() {
    if (spanSink) spanSink(name_, 0);
}
