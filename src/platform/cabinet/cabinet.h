#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Microsoft cabinet files: unpacked by ourselves, packed by a tool that stands beside the program or on the
// PATH.

struct QbCabinetFile {
    std::string name; // with '/' between directories
    uint64_t size;    // bytes, unpacked
};

// Writes every file of the cabinet below `directory`, which exists, and makes the directories on the way. A
// file that is there is replaced, never written through. 0, or the system's error number after a line on the
// error stream: EBADMSG for a damaged cabinet or one of a set, EPERM for a name that leaves the directory,
// EISDIR for a directory where a file should be; EINTR, without a line, when the process was asked to end.
// What was written until then stays. The cabinet may lie in the directory itself.
int qbCabinetUnpack(const char* cabinet, const char* directory);

// Appends the files of a cabinet in their order, without unpacking any. 0, or an error number as above.
int qbCabinetList(const char* cabinet, std::vector<QbCabinetFile>& files);

struct QbCabinetPacking {
    std::string cabinet;       // full path of the file to make; one that is there is replaced
    std::string baseDirectory; // where the tool runs; "" is the current directory
    // Relative to it, names as on the disk: plain files or links to such. A cabinet takes 1 to 65,535 of
    // them, names of up to 255 bytes without a backslash, and 2,147,450,880 bytes in all. "/" and "../" at
    // the start are not part of the name in the cabinet, where no two may be the same.
    std::vector<std::string> files;
    // Full path of the file that takes what the tool prints; when it can not be written, that is dropped.
    std::string output;
};

// Runs the tool, waits for it and checks that each file got in. 0, or -1 when a file can not be packed, when
// there is no tool, when it does not start or fails. `command` gets what is run, for the user's eyes, and
// `reason` why it failed: a clause without a full stop. A cabinet that is half done may stay.
int qbCabinetPack(const QbCabinetPacking& packing, std::string& command, std::string& reason);
