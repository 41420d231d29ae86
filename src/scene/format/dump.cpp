#include "scene/format/dump.h"

#include "scene/format/container.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <iterator>

int qbIffMode = QB_DUMP_SILENT;

namespace {

struct Label {
    uint32_t tag;
    const char* text;
};

constexpr Label labels[] = {
    {QB_TAG_FORM, "FORM"},        {QB_TAG_QUAB, "QUAB"},       {QB_TAG_SCEN, "Scene"},
    {QB_TAG_BKDR, "Backdrop"},    {QB_TAG_PROC, "Processing"}, {QB_TAG_OBJE, "Object"},
    {QB_TAG_LIGH, "Light"},       {QB_TAG_CAME, "Camera"},     {QB_TAG_FXEM, "FX_Emitter"},
    {QB_TAG_SOBJ, "SceneObject"}, {QB_TAG_SURF, "Surface"},    {QB_TAG_CGRP, "ChannelGroup"},
    {QB_TAG_CHAN, "Channel"},     {QB_TAG_VALS, "Values"},     {QB_TAG_VRUN, "VRUN"},
    {QB_TAG_VDAT, "VDAT"},        {QB_TAG_TYPE, "Type"},       {QB_TAG_NAME, "Name"},
    {QB_TAG_FNAM, "Filename"},    {QB_TAG_PRPS, "Properties"}, {QB_TAG_PROP, "Property"},
};

constexpr const char* labelIndents[] = {"", "  ", "    ", "      ", "        ", "          ", "            "};
constexpr const char* rawIndents[] = {"",       "",         "\t",         "\t",          "\t\t",
                                      "\t\t\t", "\t\t\t\t", "\t\t\t\t\t", "\t\t\t\t\t\t"};

} // namespace

// Levels below the table's last stand at the last.
static const char* indentOf(int level) {
    const int last =
        static_cast<int>(qbIffMode == QB_DUMP_RAW ? std::size(rawIndents) : std::size(labelIndents)) - 1;
    const int row = std::clamp(level, 0, last);
    return qbIffMode == QB_DUMP_RAW ? rawIndents[row] : labelIndents[row];
}

static const char* labelOf(uint32_t tag) {
    static QbTagText letters;
    const auto found =
        std::find_if(std::begin(labels), std::end(labels), [tag](const Label& l) { return l.tag == tag; });
    if (found != std::end(labels)) return found->text;
    letters = qbTagText(tag);
    return letters.text;
}

static bool isSilent() {
    return qbIffMode != QB_DUMP_LABELS && qbIffMode != QB_DUMP_RAW;
}

// "label", or "TAG [size]" in the raw form; without the size when it is -1.
static void printHead(int level, int64_t size, uint32_t tag) {
    if (qbIffMode == QB_DUMP_LABELS)
        std::printf("%s%s", indentOf(level), labelOf(tag));
    else if (size == -1)
        std::printf("%s%s", indentOf(level), qbTagText(tag).text);
    else
        std::printf("%s%s [%lld]", indentOf(level), qbTagText(tag).text, static_cast<long long>(size));
}

void qbDumpOpen(int level, int64_t size, uint32_t tag) {
    if (isSilent()) return;
    if (qbIffMode == QB_DUMP_LABELS) {
        std::printf("%s{ %s\n", indentOf(level), labelOf(tag));
        return;
    }
    printHead(level, size, tag);
    std::putchar('\n');
}

void qbDumpClose(int level) {
    if (qbIffMode == QB_DUMP_LABELS) std::printf("%s}\n", indentOf(level));
}

void qbDumpSkipped(int level, int64_t size, uint32_t tag) {
    if (isSilent()) return;
    printHead(level, size, tag);
    std::putchar('\n');
}

void qbDumpLine(int level, int64_t size, uint32_t tag, const char* format, ...) {
    if (isSilent()) return;
    printHead(level, size, tag);
    std::putchar(' ');
    va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);
    std::putchar('\n');
}

void qbDumpBegin(int level, int64_t size, uint32_t tag) {
    if (!isSilent()) printHead(level, size, tag);
}

void qbDumpPrint(const char* format, ...) {
    if (isSilent()) return;
    va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);
}
