#pragma once

#include <sstream>
#include <string>

// Stand-ins for functions of other folders.

// A function of one expression.
#define FAKE(type, function, parameters, ...)                                                                \
    type function parameters {                                                                               \
        return static_cast<type>(__VA_ARGS__);                                                               \
    }

// A call as text: its name and its arguments, as a stream shows them.
template <class... Arguments>
std::string callText(const char* name, const Arguments&... arguments) {
    std::ostringstream text;
    text << name;
    ((text << ' ' << arguments), ...);
    return text.str();
}
