#include "fuzz/scene_tree.h"

#include "scene/format/container.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

struct Node {
    uint32_t tag = 0;
    bool isContainer = false;
    Bytes body; // of a leaf
    std::vector<Node> children;
};

constexpr uint32_t CONTAINERS[] = {QB_TAG_SCEN, QB_TAG_BKDR, QB_TAG_PROC, QB_TAG_OBJE, QB_TAG_LIGH,
                                   QB_TAG_CAME, QB_TAG_FXEM, QB_TAG_SOBJ, QB_TAG_SURF, QB_TAG_CGRP,
                                   QB_TAG_CHAN, QB_TAG_VALS, QB_TAG_PRPS};
constexpr uint32_t LEAVES[] = {QB_TAG_VRUN, QB_TAG_VDAT, QB_TAG_TYPE, QB_TAG_NAME, QB_TAG_FNAM, QB_TAG_PROP};

using Random = std::minstd_rand;

} // namespace

static size_t below(Random& random, size_t limit) {
    return std::uniform_int_distribution<size_t>(0, limit - 1)(random);
}

static uint32_t readNumber(const uint8_t* at, size_t bytes) {
    uint32_t number = 0;
    for (size_t i = 0; i < bytes; ++i)
        number = number << 8 | at[i];
    return number;
}

static void writeNumber(Bytes& to, size_t number, size_t bytes) {
    while (bytes-- > 0)
        to.push_back(static_cast<uint8_t>(number >> 8 * bytes));
}

// What can not be read as chunks is left out.
static std::vector<Node> parse(const uint8_t* at, size_t size, int depth) {
    std::vector<Node> nodes;
    const size_t header = depth == 0 ? 8 : 6;
    while (size >= header) {
        Node node;
        node.tag = readNumber(at, 4);
        const size_t length = std::min<size_t>(readNumber(at + 4, header - 4), size - header);
        at += header;
        size -= header;
        node.isContainer = std::ranges::find(CONTAINERS, node.tag) != std::end(CONTAINERS);
        if (node.isContainer)
            node.children = parse(at, length, depth + 1);
        else
            node.body.assign(at, at + length);
        nodes.push_back(std::move(node));
        at += length;
        size -= length;
    }
    return nodes;
}

static Bytes written(const std::vector<Node>& nodes, int depth) {
    Bytes bytes;
    for (const Node& node : nodes) {
        const Bytes body = node.isContainer ? written(node.children, depth + 1) : node.body;
        writeNumber(bytes, node.tag, 4);
        writeNumber(bytes, body.size(), depth == 0 ? 4 : 2);
        bytes.insert(bytes.end(), body.begin(), body.end());
    }
    return bytes;
}

// All lists of chunks of the tree, its own first.
static void collect(std::vector<Node>& nodes, std::vector<std::vector<Node>*>& lists) {
    lists.push_back(&nodes);
    for (Node& node : nodes) {
        if (node.isContainer) collect(node.children, lists);
    }
}

// The first text from `offset` on gets its zeros; what follows it stays.
static size_t endString(Bytes& body, size_t offset) {
    if (body.size() <= offset) body.resize(offset + 1);
    const auto zero = std::find(body.begin() + static_cast<long>(offset), body.end(), 0);
    size_t end = static_cast<size_t>(zero - body.begin()) + 1;
    if ((end - offset) % 2 != 0) ++end;
    if (body.size() < end) body.resize(end);
    return end;
}

static void repairLeaf(Node& node) {
    static constexpr size_t valueBytes[] = {0, 4, 4, 0, 12, 8, 8};
    if (node.tag == QB_TAG_NAME || node.tag == QB_TAG_FNAM) node.body.resize(endString(node.body, 0));
    if (node.tag == QB_TAG_TYPE) node.body.resize(4);
    if (node.tag == QB_TAG_VRUN) node.body.resize(8);
    if (node.tag == QB_TAG_VDAT) {
        Bytes body;
        writeNumber(body, (std::max<size_t>(node.body.size(), 4) - 4) / 4, 4);
        node.body.resize(4 + (std::max<size_t>(node.body.size(), 4) - 4) / 4 * 4);
        std::ranges::copy(body, node.body.begin());
    }
    if (node.tag != QB_TAG_PROP) return;
    node.body.resize(std::max<size_t>(node.body.size(), 4));
    const uint32_t type = 1 + (readNumber(node.body.data(), 4) + 5) % 6;
    for (size_t i = 0; i < 4; ++i)
        node.body[i] = i == 3 ? static_cast<uint8_t>(type) : 0;
    const size_t value = endString(node.body, 4);
    node.body.resize(type == QB_PROP_STRING ? endString(node.body, value) : value + valueBytes[type]);
}

static void mutateLeaf(Node& node, Random& random) {
    const size_t size = node.body.size();
    node.body.resize(size + 64);
    node.body.resize(LLVMFuzzerMutate(node.body.data(), size, node.body.size()));
    if (below(random, 8) != 0) repairLeaf(node);
}

static void mutateTree(std::vector<Node>& top, Random& random) {
    std::vector<std::vector<Node>*> lists;
    collect(top, lists);
    std::vector<Node>& list = *lists[below(random, lists.size())];
    std::vector<Node>& other = *lists[below(random, lists.size())];
    if (list.empty()) {
        Node node;
        node.tag = LEAVES[below(random, std::size(LEAVES))];
        repairLeaf(node);
        list.push_back(node);
        return;
    }
    const size_t at = below(random, list.size());
    const Node copy = list[at];
    switch (below(random, 6)) {
    case 0:
        list.erase(list.begin() + static_cast<long>(at));
        break;
    case 1:
        list.insert(list.begin() + static_cast<long>(at), below(random, 8) == 0 ? 40 : 1, copy);
        break;
    case 2:
        other.insert(other.begin() + static_cast<long>(below(random, other.size() + 1)), copy);
        break;
    case 3:
        if (copy.isContainer)
            list[at].tag = CONTAINERS[below(random, std::size(CONTAINERS))];
        else
            list[at].tag = LEAVES[below(random, std::size(LEAVES))];
        break;
    default:
        if (!copy.isContainer) mutateLeaf(list[at], random);
        break;
    }
}

size_t mutateSceneTree(uint8_t* data, size_t size, size_t most, unsigned seed) {
    Random random(seed);
    if (size < 12 || below(random, 8) == 0) return LLVMFuzzerMutate(data, size, most);
    std::vector<Node> top = parse(data + 12, size - 12, 0);
    for (size_t i = below(random, 4) + 1; i > 0; --i)
        mutateTree(top, random);
    const Bytes body = written(top, 0);
    if (body.size() + 12 > most) return LLVMFuzzerMutate(data, size, most);
    Bytes file;
    writeNumber(file, QB_TAG_FORM, 4);
    writeNumber(file, body.size() + 4, 4);
    writeNumber(file, QB_TAG_QUAB, 4);
    file.insert(file.end(), body.begin(), body.end());
    std::ranges::copy(file, data);
    return file.size();
}
