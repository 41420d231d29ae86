#include "engine/x_check.h"

#include <algorithm>

// Ticks from the start of an animation; the engine counts frames in signed 32 bits.
static const uint32_t TIME_MAX = 1'000'000'000;

// Visits of joints for one pose.
static const uint64_t VISITS_MAX = 100'000;

// --- parts that all data objects share --------------------------------------------------------------------

bool qbXReadHead(QbXReader& reader, std::string_view& name) {
    std::string_view token;
    if (!qbXReadToken(reader, token)) return false;
    if (qbXIs(token, "{")) return true;
    name = token;
    if (!qbXReadToken(reader, token)) return false;
    return qbXIs(token, "{") || qbXFail(reader, "\"{\" is missing");
}

bool qbXReadClose(QbXReader& reader) {
    std::string_view token;
    if (!qbXReadToken(reader, token)) return false;
    return qbXIs(token, "}") || qbXFail(reader, "\"}\" is missing: a count before it is wrong");
}

static bool isNumber(const QbXReader& reader, std::string_view token) {
    if (reader.binary) return token == "<integer>" || token == "<int_list>" || token == "<flt_list>";
    return std::string_view("0123456789-.,\"").find(token[0]) != std::string_view::npos;
}

bool qbXReadKind(QbXReader& reader, std::string_view& kind) {
    if (!qbXReadToken(reader, kind)) return false;
    return !isNumber(reader, kind) || qbXFail(reader, "more data than the counts say");
}

bool qbXPassObject(QbXReader& reader) {
    std::string_view token;
    do {
        if (!qbXReadToken(reader, token)) return false;
    } while (!qbXIs(token, "{"));
    for (uint64_t open = 1; open > 0;) {
        if (!qbXReadToken(reader, token)) return false;
        if (qbXIs(token, "{")) open++;
        if (qbXIs(token, "}")) open--;
    }
    return true;
}

bool qbXReadMatrix(QbXReader& reader) {
    return qbXReadFinite(reader, 16) && qbXPassSemicolons(reader, 1);
}

// --- joints -----------------------------------------------------------------------------------------------

// The engine compares up to a zero byte, and the lengths.
std::string qbXKey(std::string_view name) {
    std::string key(name.substr(0, name.find('\0')));
    key.resize(name.size());
    return key;
}

bool qbXAddJoint(QbXCheck& check, std::string_view name, uint32_t& joint) {
    if (check.joints.size() == QB_X_JOINTS_MAX)
        return qbXFail(check.reader, "more than %d frames and bones", QB_X_JOINTS_MAX);
    joint = static_cast<uint32_t>(check.joints.size());
    check.joints.emplace_back();
    check.joints.back().name = name;
    check.jointByName.emplace(qbXKey(name), joint);
    return true;
}

bool qbXFindJoint(QbXCheck& check, std::string_view name, uint32_t& joint) {
    const auto found = check.jointByName.find(qbXKey(name));
    if (found == check.jointByName.end()) return qbXAddJoint(check, name, joint);
    joint = found->second;
    return qbXSpend(check.reader, uint64_t{joint} * QB_X_COMPARE_WORK, "too many frames and bones");
}

namespace {
struct Walk {
    uint64_t visits = 0; // ways from the roots
    uint32_t parentsLeft = 0;
    int depth = 1;
};
} // namespace

static std::vector<uint32_t> findRoots(const QbXCheck& check, std::vector<Walk>& walks) {
    for (const QbXJoint& joint : check.joints)
        for (uint32_t child : joint.children)
            walks[child].parentsLeft++;
    std::vector<uint32_t> roots;
    for (uint32_t i = 0; i < walks.size(); i++) {
        if (walks[i].parentsLeft > 0) continue;
        walks[i].visits = 1;
        roots.push_back(i);
    }
    return roots;
}

// Walks the joints, parents first, and counts what the engine visits when it goes down from the roots.
static bool checkTree(QbXCheck& check) {
    QbXReader& reader = check.reader;
    std::vector<Walk> walks(check.joints.size());
    std::vector<uint32_t> order = findRoots(check, walks);
    uint64_t visits = 0;
    for (size_t next = 0; next < order.size(); next++) {
        const Walk walk = walks[order[next]];
        visits += walk.visits;
        if (visits > VISITS_MAX) return qbXFail(reader, "frames of the same names repeat each other");
        if (walk.depth > QB_X_DEPTH_MAX)
            return qbXFail(reader, "more than %d frames inside each other", QB_X_DEPTH_MAX);
        for (uint32_t child : check.joints[order[next]].children) {
            walks[child].visits += walk.visits;
            walks[child].depth = std::max(walks[child].depth, walk.depth + 1);
            if (--walks[child].parentsLeft == 0) order.push_back(child);
        }
    }
    for (size_t i = 0; i < walks.size(); i++) {
        if (walks[i].parentsLeft == 0) continue;
        reader.kind = "Frame";
        reader.name = check.joints[i].name;
        return qbXFail(reader, "it stands inside a frame of its own name");
    }
    return true;
}

bool qbXCheckJoints(QbXCheck& check) {
    QbXReader& reader = check.reader;
    if (!checkTree(check)) return false;
    if (!qbXSpend(reader, check.links * check.joints.size(), "too many frames")) return false;
    for (const QbXJoint& joint : check.joints) {
        // The engine drops keys and weights that it does not need one by one, moving all behind them.
        for (uint64_t keys : joint.keys)
            if (!qbXSpend(reader, keys * keys * 2, "an animation has too many keys")) return false;
        if (!qbXSpend(reader, joint.idleWeights * joint.weights * 10, "a bone has too many weights of 0"))
            return false;
    }
    return true;
}

// --- frames -----------------------------------------------------------------------------------------------

static bool checkTransform(QbXReader& reader) {
    const QbXPlace place(reader, "FrameTransformMatrix");
    std::string_view name;
    return qbXReadHead(reader, name) && qbXReadMatrix(reader) && qbXPassSemicolons(reader, 1) &&
           qbXReadClose(reader);
}

// A name that stood before means the same joint again; frames without name are always new.
static bool enterFrame(QbXCheck& check, std::string_view name, uint32_t parent, uint32_t& joint) {
    const size_t before = check.joints.size();
    if (!(name.empty() ? qbXAddJoint(check, name, joint) : qbXFindJoint(check, name, joint))) return false;
    if (check.joints.size() > before &&
        !qbXSpend(check.reader, before * QB_X_COMPARE_WORK, "too many frames and bones"))
        return false;
    if (parent == QB_X_NO_JOINT) return true;
    check.joints[parent].children.push_back(joint);
    check.links++;
    return true;
}

static bool checkFramePart(QbXCheck& check, std::string_view kind, int depth, uint32_t joint) {
    if (qbXIs(kind, "Frame")) return qbXCheckFrame(check, depth + 1, joint);
    if (qbXIs(kind, "FrameTransformMatrix")) return checkTransform(check.reader);
    if (qbXIs(kind, "Mesh")) return qbXCheckMesh(check);
    return qbXPassObject(check.reader);
}

bool qbXCheckFrame(QbXCheck& check, int depth, uint32_t parent) {
    QbXReader& reader = check.reader;
    const QbXPlace place(reader, "Frame");
    if (depth > QB_X_DEPTH_MAX)
        return qbXFail(reader, "more than %d frames inside each other", QB_X_DEPTH_MAX);
    uint32_t joint = 0;
    if (!qbXReadHead(reader, reader.name) || !enterFrame(check, reader.name, parent, joint)) return false;
    std::string_view kind;
    while (qbXReadKind(reader, kind)) {
        if (qbXIs(kind, "}")) return true;
        if (!checkFramePart(check, kind, depth, joint)) return false;
    }
    return false;
}

// --- animations -------------------------------------------------------------------------------------------

struct KeyLayout {
    uint32_t numbers;
    int semicolons; // behind the numbers
    bool kept[QB_X_KEYS_COUNT];
};

// Indexed by the type of an AnimationKey; both kinds of matrix turn and move, and scale nothing.
static const KeyLayout KEY_LAYOUTS[] = {
    {4, 2, {true, false, false}}, {3, 2, {false, true, false}}, {3, 2, {false, false, true}},
    {16, 2, {true, false, true}}, {16, 2, {true, false, true}},
};
enum { KEY_TYPES = sizeof KEY_LAYOUTS / sizeof KEY_LAYOUTS[0] };

static bool checkKey(QbXReader& reader, const KeyLayout& layout) {
    uint32_t time = 0, numbers = 0;
    if (!qbXReadInt(reader, time)) return false;
    if (time > TIME_MAX) return qbXFail(reader, "the time %u is too large: at most %u", time, TIME_MAX);
    if (!qbXReadInt(reader, numbers)) return false;
    if (numbers != layout.numbers)
        return qbXFail(reader, "a key of this type has %u numbers, not %u", layout.numbers, numbers);
    return qbXReadFinite(reader, numbers) && qbXPassSemicolons(reader, layout.semicolons);
}

// Behind the last key the engine's reader passes one ';', or else goes back twice.
static bool endKeys(QbXReader& reader) {
    bool found = true;
    if (!qbXReadSemicolon(reader, found)) return false;
    if (!found) reader.at--;
    return qbXReadClose(reader);
}

static bool checkAnimationKey(QbXReader& reader, uint64_t (&keys)[QB_X_KEYS_COUNT]) {
    const QbXPlace place(reader, "AnimationKey");
    std::string_view name;
    uint32_t type = 0, count = 0;
    if (!qbXReadHead(reader, name) || !qbXReadInt(reader, type)) return false;
    if (type >= KEY_TYPES) return qbXFail(reader, "%u is no type of key: 0 to %d are", type, KEY_TYPES - 1);
    if (!qbXReadInt(reader, count) || (count == 0 && !qbXPassSemicolons(reader, 1))) return false;
    for (uint32_t i = 0; i < count; i++)
        if (!checkKey(reader, KEY_LAYOUTS[type])) return false;
    for (int list = 0; list < QB_X_KEYS_COUNT; list++)
        if (KEY_LAYOUTS[type].kept[list]) keys[list] += count;
    return endKeys(reader);
}

static bool giveKeys(QbXCheck& check, std::string_view name, const uint64_t (&keys)[QB_X_KEYS_COUNT]) {
    uint32_t index = 0;
    if (name.empty()) return true; // of no joint: the engine drops them
    if (!qbXFindJoint(check, name, index)) return false;
    QbXJoint& joint = check.joints[index];
    for (int list = 0; list < QB_X_KEYS_COUNT; list++) {
        if (!qbXSpend(check.reader, joint.keys[list], "too many Animations of one frame")) return false;
        joint.keys[list] += keys[list];
    }
    return true;
}

static bool checkAnimation(QbXCheck& check) {
    QbXReader& reader = check.reader;
    const QbXPlace place(reader, "Animation");
    std::string_view kind, frame;
    uint64_t keys[QB_X_KEYS_COUNT] = {};
    if (!qbXReadHead(reader, reader.name)) return false;
    while (qbXReadKind(reader, kind)) {
        if (qbXIs(kind, "}")) return giveKeys(check, frame, keys);
        bool sound = true;
        if (qbXIs(kind, "AnimationKey"))
            sound = checkAnimationKey(reader, keys);
        else if (qbXIs(kind, "{"))
            sound = qbXReadToken(reader, frame) && qbXReadClose(reader);
        else
            sound = qbXPassObject(reader);
        if (!sound) return false;
    }
    return false;
}

bool qbXCheckAnimationSet(QbXCheck& check) {
    QbXReader& reader = check.reader;
    const QbXPlace place(reader, "AnimationSet");
    std::string_view kind;
    if (!qbXReadHead(reader, reader.name)) return false;
    while (qbXReadKind(reader, kind)) {
        if (qbXIs(kind, "}")) return true;
        if (!(qbXIs(kind, "Animation") ? checkAnimation(check) : qbXPassObject(reader))) return false;
    }
    return false;
}
