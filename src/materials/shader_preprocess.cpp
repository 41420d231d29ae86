#include "materials/shader_preprocess.h"

#include "platform/message.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

static constexpr std::string_view MARKER = "//QUAB_PP:";

static void printDefines(const char* const* defines) {
    fputs("\n[ShaderPP]:", stdout);
    for (; *defines; ++defines)
        printf("%s ", *defines);
    fputs("\n", stdout);
}

static bool isDefined(std::string_view name, const char* const* defines) {
    for (; *defines; ++defines)
        if (name == *defines) return true;
    return false;
}

static int refuse(const char* what, std::string_view text, size_t offset) {
    const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(offset), '\n');
    qbTrace("!! ERROR: bad preprocessor %s at offset %d", what, static_cast<int>(offset));
    qbTrace(" (line %d)\n", static_cast<int>(line));
    return -1;
}

int shaderPreprocess(char* text, const char* const* defines) {
    if (!defines) return 0;
    printDefines(defines);

    const std::string_view all = text;
    size_t marker = 0;
    while ((marker = all.find(MARKER, marker)) != std::string_view::npos) {
        const size_t command = marker + MARKER.size();
        const std::string_view letters = all.substr(command, 2);
        if (letters != "D:" && letters != "U:") return refuse("is not D nor U", all, command);

        const size_t name = command + letters.size();
        const size_t end = std::min(all.find_first_of(":\r\n", name), all.size());
        if (end == all.size() || all[end] != ':') return refuse("missing end of def", all, end);

        const bool wanted = letters == "D:";
        if (isDefined(all.substr(name, end - name), defines) == wanted)
            memset(text + marker, ' ', end + 1 - marker);
        marker = end + 1;
    }
    return 0;
}
