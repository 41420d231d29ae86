#include "scene/export/x_tokens.h"

#include <bit>
#include <charconv>
#include <string_view>

enum Token : uint16_t {
    TOKEN_NAME = 1,
    TOKEN_STRING = 2,
    TOKEN_INTEGER_LIST = 6,
    TOKEN_FLOAT_LIST = 7,
    TOKEN_OPEN = 10,
    TOKEN_CLOSE = 11,
    TOKEN_SEMICOLON = 20,
};

static void putText(QbXTokens& tokens, std::string_view text) {
    tokens.bytes.insert(tokens.bytes.end(), text.begin(), text.end());
}

static void putLittleEndian(QbXTokens& tokens, uint32_t value, int width) {
    for (int i = 0; i < width; i++)
        tokens.bytes.push_back(static_cast<uint8_t>(value >> 8 * i));
}

static void putToken(QbXTokens& tokens, Token token) {
    putLittleEndian(tokens, token, 2);
}

static void flushLists(QbXTokens& tokens) {
    if (!tokens.integers.empty()) {
        putToken(tokens, TOKEN_INTEGER_LIST);
        putLittleEndian(tokens, static_cast<uint32_t>(tokens.integers.size()), 4);
        for (uint32_t value : tokens.integers)
            putLittleEndian(tokens, value, 4);
        tokens.integers.clear();
    }
    if (!tokens.floats.empty()) {
        putToken(tokens, TOKEN_FLOAT_LIST);
        putLittleEndian(tokens, static_cast<uint32_t>(tokens.floats.size()), 4);
        for (float value : tokens.floats)
            putLittleEndian(tokens, std::bit_cast<uint32_t>(value), 4);
        tokens.floats.clear();
    }
}

static void putBinaryName(QbXTokens& tokens, Token token, std::string_view text) {
    flushLists(tokens);
    putToken(tokens, token);
    putLittleEndian(tokens, static_cast<uint32_t>(text.size()), 4);
    putText(tokens, text);
}

static void putIndent(QbXTokens& tokens) {
    // A number ends its line by what the caller put behind it, or not at all.
    if (!tokens.bytes.empty() && tokens.bytes.back() != '\n') putText(tokens, "\n");
    tokens.bytes.insert(tokens.bytes.end(), tokens.depth, ' ');
}

void qbXBegin(QbXTokens& tokens, bool binary) {
    tokens = QbXTokens();
    tokens.binary = binary;
    putText(tokens, binary ? "xof 0303bin 0032" : "xof 0303txt 0032\n");
}

void qbXOpen(QbXTokens& tokens, const char* type, const std::string& name) {
    if (tokens.binary) {
        putBinaryName(tokens, TOKEN_NAME, type);
        if (!name.empty()) putBinaryName(tokens, TOKEN_NAME, name);
        putToken(tokens, TOKEN_OPEN);
        return;
    }
    putIndent(tokens);
    putText(tokens, type);
    putText(tokens, name.empty() ? " {\n" : " " + name + " {\n");
    tokens.depth++;
}

void qbXClose(QbXTokens& tokens) {
    if (tokens.binary) {
        flushLists(tokens);
        putToken(tokens, TOKEN_CLOSE);
        return;
    }
    tokens.depth--;
    putIndent(tokens);
    putText(tokens, "}\n");
}

void qbXInt(QbXTokens& tokens, uint32_t value, const char* after) {
    if (tokens.binary) {
        if (!tokens.floats.empty()) flushLists(tokens);
        tokens.integers.push_back(value);
        return;
    }
    putText(tokens, std::to_string(value));
    putText(tokens, after);
}

void qbXFloat(QbXTokens& tokens, float value, const char* after) {
    if (tokens.binary) {
        if (!tokens.integers.empty()) flushLists(tokens);
        tokens.floats.push_back(value);
        return;
    }
    // The shortest text that reads back as the same float, whatever the locale.
    char text[32];
    putText(tokens, std::string_view(text, std::to_chars(text, text + sizeof text, value).ptr));
    putText(tokens, after);
}

void qbXFloats(QbXTokens& tokens, const float* values, size_t count, const char* between, const char* after) {
    for (size_t i = 0; i < count; i++)
        qbXFloat(tokens, values[i], i + 1 < count ? between : after);
}

void qbXString(QbXTokens& tokens, const std::string& text) {
    if (tokens.binary) {
        putBinaryName(tokens, TOKEN_STRING, text);
        putToken(tokens, TOKEN_SEMICOLON);
        return;
    }
    putIndent(tokens);
    putText(tokens, "\"" + text + "\";\n");
}

void qbXReference(QbXTokens& tokens, const std::string& name) {
    if (tokens.binary) {
        flushLists(tokens);
        putToken(tokens, TOKEN_OPEN);
        putBinaryName(tokens, TOKEN_NAME, name);
        putToken(tokens, TOKEN_CLOSE);
        return;
    }
    putIndent(tokens);
    putText(tokens, "{ " + name + " }\n");
}
