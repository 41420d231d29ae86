#include "platform/cabinet/cabinet.h"

#include "platform/cabinet/entry_name.h"
#include "platform/path.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <set>
#include <spawn.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

const char toolName[] = "gcab";

// Beyond these gcab writes a cabinet that lacks files or does not read back, and ends with status 0.
constexpr size_t maxFiles = 65535;              // the count has 16 bits
constexpr size_t maxNameBytes = 255;            // what readers accept
constexpr uint64_t maxBytes = 65535 * 32768ull; // gcab makes one folder: 16 bits of blocks of 32 KiB

using Names = std::vector<std::string>;

int failWith(std::string& reason, std::string text) {
    reason = std::move(text);
    return -1;
}

std::string quoted(std::string_view name) {
    return '"' + std::string(name) + '"';
}

// What the tool is given, and what the cabinet calls it.
struct Entry {
    std::string argument, name;
};

// gcab drops "/" and "../" at the start of a name, and keeps "a//b" and "./a" as they are: it is given names
// that read back as those that a show asks for.
Entry plainEntry(const std::string& file) {
    Entry entry;
    std::string_view rest = file;
    if (rest.starts_with('/')) entry.argument = "/";
    while (rest.starts_with('/') || rest.starts_with("./") || rest.starts_with("../")) {
        if (rest.starts_with("../")) entry.argument += "../";
        rest.remove_prefix(rest.find('/') + 1);
    }
    std::vector<std::string> parts;
    if (qbEntryNameSplit(rest, parts))
        for (const std::string& part : parts)
            entry.name += (entry.name.empty() ? "" : "/") + part;
    entry.argument += entry.name;
    return entry;
}

// gcab takes "file:/x" for an address, and packs a file that nobody named.
bool looksLikeAddress(std::string_view argument) {
    const size_t colon = argument.find(':');
    return colon != std::string_view::npos && argument.find_first_of("/ ") > colon;
}

// Why no reader would find the file, "" when there is no reason.
std::string checkName(const std::string& file, const Entry& entry) {
    // Readers take it for a separator.
    if (file.find('\\') != std::string::npos)
        return "the file " + quoted(file) + " has a backslash in its name";
    if (looksLikeAddress(entry.argument))
        return "the name " + quoted(file) + " has a colon in its first part, which gcab takes for an address";
    if (entry.name.empty())
        return "the name " + quoted(file) + " leads out of the directory that a cabinet is unpacked into";
    if (entry.name.size() > maxNameBytes)
        return "the name " + quoted(entry.name) + " is longer than the " + std::to_string(maxNameBytes) +
               " bytes that a cabinet takes";
    return "";
}

int plainEntries(const Names& files, std::vector<Entry>& entries, std::string& reason) {
    std::map<std::string, std::string> arguments; // by the name in the cabinet
    for (const std::string& file : files) {
        Entry entry = plainEntry(file);
        if (std::string wrong = checkName(file, entry); !wrong.empty())
            return failWith(reason, std::move(wrong));
        const auto [known, isNew] = arguments.emplace(entry.name, entry.argument);
        if (!isNew && known->second != entry.argument)
            return failWith(reason, quoted(known->second) + " and " + quoted(entry.argument) +
                                        " have the same name in a cabinet");
        entries.push_back(std::move(entry));
    }
    return 0;
}

int checkFiles(const std::string& baseDirectory, const std::vector<Entry>& entries, std::string& reason) {
    if (entries.empty()) return failWith(reason, "nothing matches");
    if (entries.size() > maxFiles)
        return failWith(reason, std::to_string(entries.size()) + " files are more than the " +
                                    std::to_string(maxFiles) + " that a cabinet takes");
    uint64_t bytes = 0;
    for (const auto& [argument, name] : entries) {
        struct stat status;
        const std::string path = argument.starts_with('/') ? argument : baseDirectory + '/' + argument;
        if (stat(path.c_str(), &status) != 0)
            return failWith(reason,
                            "the file " + quoted(argument) + " in " + baseDirectory + ": " + strerror(errno));
        if (!S_ISREG(status.st_mode))
            return failWith(reason, quoted(argument) + " in " + baseDirectory + " is no plain file");
        bytes += static_cast<uint64_t>(status.st_size);
    }
    if (bytes > maxBytes)
        return failWith(reason, "the files have " + std::to_string(bytes) + " bytes, more than the " +
                                    std::to_string(maxBytes) + " that a cabinet takes");
    return 0;
}

bool isProgram(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(path.c_str(), X_OK) == 0;
}

// Beside the program, then on the PATH; "" when there is none. Entries that depend on the current directory
// are passed over: what a show's directory holds is never run.
std::string findTool() {
    const char* own = qbProgramDirectory();
    if (own && isProgram(std::string(own) + toolName)) return std::string(own) + toolName;
    const char* variable = getenv("PATH");
    std::string_view rest = variable ? variable : "";
    while (!rest.empty()) {
        const std::string_view entry = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(entry.size() + 1, rest.size()));
        if (!entry.starts_with('/')) continue;
        const std::string path = std::string(entry) + '/' + toolName;
        if (isProgram(path)) return path;
    }
    return "";
}

std::vector<char*> pointers(Names& texts) {
    std::vector<char*> list;
    for (std::string& text : texts)
        list.push_back(text.data());
    list.push_back(nullptr);
    return list;
}

// The user's own, with messages in English.
Names toolEnvironment() {
    Names environment;
    for (char** entry = environ; entry && *entry; ++entry) {
        const std::string_view text = *entry;
        if (!text.starts_with("LC_ALL=") && !text.starts_with("LANGUAGE=")) environment.emplace_back(text);
    }
    environment.emplace_back("LC_ALL=C.UTF-8");
    return environment;
}

// Starts the tool with its output in `output`. 0, or an error number.
int startTool(Names& command, const std::string& baseDirectory, int output, pid_t& child) {
    Names environment = toolEnvironment();
    posix_spawn_file_actions_t actions;
    if (const int error = posix_spawn_file_actions_init(&actions)) return error;
    int error = posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (!error) error = posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    if (!error) error = posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
    if (!error) error = posix_spawn_file_actions_addchdir_np(&actions, baseDirectory.c_str());
    if (!error)
        error = posix_spawn(&child, command[0].c_str(), &actions, nullptr, pointers(command).data(),
                            pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

int runTool(Names& command, const std::string& baseDirectory, const std::string& outputPath,
            std::string& reason) {
    int output = open(outputPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const std::string advice = output < 0 ? "" : ", see " + outputPath;
    if (output < 0) output = open("/dev/null", O_WRONLY | O_CLOEXEC);
    pid_t child = -1;
    const int error = startTool(command, baseDirectory, output, child);
    if (output >= 0) close(output);
    if (error == E2BIG)
        return failWith(reason,
                        "too many files, their names are longer than the system takes in one command");
    if (error) return failWith(reason, command[0] + " does not start: " + strerror(error));
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return failWith(reason, command[0] + " is lost: " + strerror(errno));
    if (WIFSIGNALED(status))
        return failWith(reason,
                        command[0] + " was ended by signal " + std::to_string(WTERMSIG(status)) + advice);
    if (WEXITSTATUS(status) != 0)
        return failWith(reason,
                        command[0] + " ended with status " + std::to_string(WEXITSTATUS(status)) + advice);
    return 0;
}

// gcab only warns of a file that it can not find, and ends with status 0.
int checkCabinet(const QbCabinetPacking& packing, const std::vector<Entry>& entries, std::string& reason) {
    std::vector<QbCabinetFile> files;
    if (qbCabinetList(packing.cabinet.c_str(), files) != 0)
        return failWith(reason, "the cabinet " + packing.cabinet + " that was made does not read back");
    std::set<std::string_view> packed;
    for (const QbCabinetFile& file : files)
        packed.insert(file.name);
    for (const auto& [argument, name] : entries)
        if (!packed.contains(name))
            return failWith(reason, "the file " + quoted(argument) + " did not get into the cabinet, see " +
                                        packing.output);
    return 0;
}

// Removes an older cabinet, so that it is not taken for the result.
int clearPlace(const std::string& cabinet, std::string& reason) {
    const std::string directory = cabinet.substr(0, cabinet.rfind('/') + 1);
    struct stat status;
    const bool older = lstat(cabinet.c_str(), &status) == 0;
    const int result =
        older ? unlink(cabinet.c_str()) : faccessat(AT_FDCWD, directory.c_str(), W_OK, AT_EACCESS);
    if (result == 0) return 0;
    const int error = errno;
    if (older) return failWith(reason, "the older " + cabinet + " can not be replaced: " + strerror(error));
    return failWith(reason, cabinet + " can not be made there: " + strerror(error) +
                                "; pack from a directory that may be written");
}

} // namespace

int qbCabinetPack(const QbCabinetPacking& packing, std::string& command, std::string& reason) {
    const std::string tool = findTool();
    Names arguments = {tool.empty() ? toolName : tool, "-c", "-z", "--", packing.cabinet};
    std::vector<Entry> entries;
    const int refused = plainEntries(packing.files, entries, reason);
    if (refused) arguments.insert(arguments.end(), packing.files.begin(), packing.files.end());
    for (size_t i = 0; !refused && i < entries.size(); ++i)
        arguments.push_back(entries[i].argument);
    command.clear();
    for (const std::string& argument : arguments)
        command += (command.empty() ? "" : " ") + argument;
    const std::string base = packing.baseDirectory.empty() ? "." : packing.baseDirectory;
    if (refused || checkFiles(base, entries, reason) != 0) return -1;
    if (tool.empty())
        return failWith(reason, "the tool gcab is missing: install the package gcab, or put gcab beside the "
                                "program or on the PATH");
    if (clearPlace(packing.cabinet, reason) != 0) return -1;
    if (runTool(arguments, base, packing.output, reason) == 0 && checkCabinet(packing, entries, reason) == 0)
        return 0;
    unlink(packing.cabinet.c_str()); // half a cabinet is of no use to anybody
    return -1;
}
