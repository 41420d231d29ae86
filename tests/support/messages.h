#pragma once

#include "platform/message.h"

#include <string>
#include <vector>

// Collects what the program says to its user for as long as the object lives. One at a time.
class Messages {
public:
    Messages() {
        texts().clear();
        qbMessageSetSink([](const char* text) { texts().emplace_back(text); });
    }
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;
    ~Messages() { qbMessageSetSink(nullptr); }

    static std::vector<std::string>& texts() {
        static std::vector<std::string> list;
        return list;
    }
};
