#pragma once

#include <sys/wait.h>
#include <unistd.h>

// Runs `part` in a process of its own, which ends with its result as exit status. Returns how it ended, as
// waitpid tells it.
template <class Part>
int inProcess(Part part) {
    const pid_t process = fork();
    if (process == 0) _exit(part());
    int status = -1;
    waitpid(process, &status, 0);
    return status;
}
